#pragma once
// TItems: watches one folder's items and raises OnItemAdd for an item added to it. It is
// connected to a folder only while an item made by the add-in is awaited.
#include <functional>
#include <memory>

#include "platform/Dispatch.h"

class TItems {
public:
    std::function<void(const std::shared_ptr<platform::IDispatch>& Item)> OnItemAdd;

    // Watches the given items collection, replacing any earlier one.
    void ConnectTo(std::shared_ptr<platform::IDispatch> items);
    void Disconnect();
    bool Connected() const { return items_ != nullptr; }
    const std::shared_ptr<platform::IDispatch>& Source() const { return items_; }

    // The host's side: an item was added to the watched folder. Nothing happens while
    // disconnected.
    void DoItemAdd(const std::shared_ptr<platform::IDispatch>& item);

private:
    std::shared_ptr<platform::IDispatch> items_;
};
