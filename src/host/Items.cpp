#include "host/Items.h"

#include "base/Guard.h"

class TItems::Sink : public outlook::ItemsEvents {
public:
    explicit Sink(TItems* owner) : owner_(owner) {}
    void ItemAdd(const std::shared_ptr<platform::IDispatch>& item) override {
        if (owner_) owner_->DoItemAdd(item);
    }
    TItems* owner_;
};

TItems::TItems() : sink_(std::make_shared<Sink>(this)) {}

TItems::~TItems() {
    Disconnect();
    sink_->owner_ = nullptr;
}

void TItems::ConnectTo(std::shared_ptr<outlook::_Items> items) {
    Disconnect();
    if (!items) return;
    cookie_ = items->Advise(sink_);
    items_ = std::move(items);
}

void TItems::Disconnect() {
    if (!items_) return;
    auto items = std::move(items_);
    items_.reset();
    Swallow([&] { items->Unadvise(cookie_); });
    cookie_ = 0;
}

void TItems::DoItemAdd(const std::shared_ptr<platform::IDispatch>& item) {
    if (Connected() && OnItemAdd) OnItemAdd(item);
}
