#pragma once
// The inside of the simulated mailbox, shared by the folders, the items and TSimOutlook. Not for
// use outside src/sim/.
#include <algorithm>
#include <cctype>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Exceptions.h"

namespace sim {

class TSimFailures;
class TSimFolder;
class TSimItem;

namespace detail {

struct SimStore {
    std::shared_ptr<TSimFailures> failures;
    std::string storeId;
    std::string userName = "Alex Morgan";
    std::string userAddress = "alex.morgan@example.com";
    std::shared_ptr<TSimFolder> root;
    std::map<int, std::shared_ptr<TSimFolder>> defaults;
    std::vector<std::string> journal;
    unsigned nextEntry = 1;
    // The saved items of the mailbox by EntryID; an item deleted for good leaves it.
    std::map<std::string, std::shared_ptr<TSimItem>> items;
    // The items shown in an open inspector, in the order of activation: the active one last.
    std::vector<std::shared_ptr<TSimItem>> open;
    // The explorer: the folder it shows and the items selected there.
    std::shared_ptr<TSimFolder> explorerFolder;
    std::vector<std::shared_ptr<TSimItem>> selection;
    // The host's hooks (TSimOutlook::SetDisplayHook, SetItemAddedHook).
    std::function<void(TSimItem&)> onDisplay;
    std::function<void(TSimItem&)> onItemAdded;
    // The item-added events waiting for the message loop: the folder and the item that came in.
    std::vector<std::pair<std::weak_ptr<TSimFolder>, std::shared_ptr<TSimItem>>> pendingAdds;

    std::string NewEntryID();
    // An item came into a folder: the host hears of it now, the folder's sinks from the loop.
    void ItemAdded(TSimItem& item, const std::shared_ptr<TSimFolder>& folder);
    void Log(std::string line) { journal.push_back(std::move(line)); }
};

// The mailbox behind a weak reference; raises as Outlook does once it is gone.
inline std::shared_ptr<SimStore> Alive(const std::weak_ptr<SimStore>& store) {
    auto s = store.lock();
    if (!s) throw EOleException("The RPC server is unavailable.");
    return s;
}

inline bool SameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

}  // namespace detail
}  // namespace sim
