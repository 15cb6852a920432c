#pragma once
// TItems: watches one folder's items and raises OnItemAdd for an item added to it. It is
// connected to a folder only while an item made by the add-in is awaited. Items that raise their
// events through a connection point (Outlook's ItemsEvents, on Windows) are advised when the
// watcher connects and unadvised when it disconnects; elsewhere the host calls DoItemAdd.
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Dispatch.h"

class TItems {
public:
    TItems() = default;
    ~TItems();
    TItems(const TItems&) = delete;
    TItems& operator=(const TItems&) = delete;

    std::function<void(const std::shared_ptr<platform::IDispatch>& Item)> OnItemAdd;

    // Watches the given items collection, replacing any earlier one. Raises what advising on
    // the items' connection point raises; the watcher is then disconnected.
    void ConnectTo(std::shared_ptr<platform::IDispatch> items);
    // Never raises: a connection that won't be unadvised is let go all the same.
    void Disconnect();
    bool Connected() const { return items_ != nullptr; }
    const std::shared_ptr<platform::IDispatch>& Source() const { return items_; }

    // The host's side: an item was added to the watched folder. Nothing happens while
    // disconnected.
    void DoItemAdd(const std::shared_ptr<platform::IDispatch>& item);

private:
    class TSink;
    std::shared_ptr<platform::IDispatch> items_;
    std::shared_ptr<platform::IConnectionPoint> connection_;
    std::shared_ptr<TSink> sink_;
    uint32_t cookie_ = 0;
};
