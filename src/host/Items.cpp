#include "host/Items.h"

#include "base/Guard.h"
#include "platform/Outlook.h"

// The watcher's end of an ItemsEvents connection: ItemAdd, with the item added.
class TItems::TSink : public platform::IDispatch {
public:
    explicit TSink(TItems* owner) : owner_(owner) {}
    void InvokeEvent(int32_t dispId, const std::vector<Variant>&,
                     const std::vector<std::shared_ptr<platform::IDispatch>>& objects) override {
        if (dispId != outlook::DISPID_ItemAdd || !owner_ || objects.empty() || !objects.front()) return;
        owner_->DoItemAdd(objects.front());
    }
    void Detach() { owner_ = nullptr; }

private:
    TItems* owner_;
};

TItems::~TItems() { Disconnect(); }

void TItems::ConnectTo(std::shared_ptr<platform::IDispatch> items) {
    Disconnect();
    auto container = std::dynamic_pointer_cast<platform::IConnectionPointContainer>(items);
    items_ = std::move(items);
    if (!container) return;
    try {
        auto connection = container->FindConnectionPoint(outlook::IID_ItemsEvents);
        auto sink = std::make_shared<TSink>(this);
        cookie_ = platform::Use(connection).Advise(sink);
        connection_ = std::move(connection);
        sink_ = std::move(sink);
    } catch (...) {
        items_.reset();
        throw;
    }
}

void TItems::Disconnect() {
    if (sink_) sink_->Detach();
    if (connection_) Swallow([this] { connection_->Unadvise(cookie_); });
    connection_.reset();
    sink_.reset();
    cookie_ = 0;
    items_.reset();
}

void TItems::DoItemAdd(const std::shared_ptr<platform::IDispatch>& item) {
    if (Connected() && OnItemAdd) OnItemAdd(item);
}
