#pragma once
// The simulated Outlook as Outlook's automation objects: Application, NameSpace, Recipient,
// MAPIFolder, Folders, Items, Inspector and TaskItem, each answering its members by Outlook's
// dispatch names (and Class), each call going to the simulated mailbox with its named failures.
// Events come through real connection points: ItemEvents of an item (the mailbox's own
// connection), ItemsEvents of a folder's items (ItemAdd, as the mailbox raises it) and
// ApplicationEvents_11 of the application (Quit, raised by FireQuit), and ExplorerEvents_10 of
// the explorer (FolderSwitch and Close).
#include <memory>
#include <string>

#include "platform/Dispatch.h"
#include "win/com/ComSupport.h"
#include "win/com/Generated.h"

namespace sim {
class TSimOutlook;
class TSimItem;
}

namespace win {

class TAutoOutlook {
public:
    // scriptHost: what the Application answers for ICorvelleScriptHost; none when null.
    TAutoOutlook(sim::TSimOutlook& outlook, ICorvelleScriptHost* scriptHost);
    ~TAutoOutlook();
    TAutoOutlook(const TAutoOutlook&) = delete;
    TAutoOutlook& operator=(const TAutoOutlook&) = delete;

    // The Application object; the same one each time.
    TComPtr<IDispatch> Application();
    // The automation object of an object of the model (a new one each time, as Outlook's are).
    TComPtr<IDispatch> Wrap(const std::shared_ptr<platform::IDispatch>& object);

    // The version the Application gives (Outlook 2016 and later's "16.0.0.0" unless set).
    void SetVersion(std::string version);

    // Outlook quits: Quit to the application's event sinks.
    void FireQuit();
    // The explorer shows another folder (FolderSwitch), or closes (Close), to its event sinks.
    void FireFolderSwitch();
    void FireExplorerClose();
    size_t ExplorerSinkCount() const;
    // Outlook goes away: it lets go of every event sink it holds.
    void ReleaseSinks();

    // What the automation objects share with the Outlook they belong to.
    struct State;

private:
    std::shared_ptr<State> state_;
    TComPtr<IDispatch> application_;
};

}  // namespace win
