#pragma once
// TItems: watches one folder's items and raises OnItemAdd for an item added to it. It is
// connected to a folder only while an item made by the add-in is awaited; connecting again
// replaces the earlier connection, and the watcher lets go of its folder when disconnected.
#include <functional>
#include <memory>

#include "platform/Outlook.h"

class TItems {
public:
    TItems();
    ~TItems();
    TItems(const TItems&) = delete;
    TItems& operator=(const TItems&) = delete;

    std::function<void(const std::shared_ptr<platform::IDispatch>& Item)> OnItemAdd;

    // Watches the given items collection, replacing any earlier one. A failure to connect
    // leaves the watcher disconnected and passes on.
    void ConnectTo(std::shared_ptr<outlook::_Items> items);
    // Never raises: a folder that refuses to let go is let go of all the same.
    void Disconnect();
    bool Connected() const { return items_ != nullptr; }
    const std::shared_ptr<outlook::_Items>& Source() const { return items_; }

    // An item was added to the watched folder. Nothing happens while disconnected.
    void DoItemAdd(const std::shared_ptr<platform::IDispatch>& item);

private:
    class Sink;
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<outlook::_Items> items_;
    uint32_t cookie_ = 0;
};
