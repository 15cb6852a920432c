#include "host/Items.h"

void TItems::ConnectTo(std::shared_ptr<platform::IDispatch> items) { items_ = std::move(items); }

void TItems::Disconnect() { items_.reset(); }

void TItems::DoItemAdd(const std::shared_ptr<platform::IDispatch>& item) {
    if (Connected() && OnItemAdd) OnItemAdd(item);
}
