#pragma once
// TTaskPanes: the add-in's panes in Outlook's explorer window, through Office's custom task pane
// service. With the factory that Office hands over (ICustomTaskPaneConsumer), it follows the
// active explorer from the add-in's start: when the explorer shows a folder of a kind the forms
// manager serves (mail, appointment, contact, post), the manager makes and shows its forms (the
// first time) and two panes show them, each a TPaneControl: the task pane docked on the right,
// and one pane docked at the bottom that stacks the other forms as tabs in the manager's order.
// A folder of another kind hides both panes; the explorer's FolderSwitch event brings each
// change. A click into a pane, or choosing its tab, activates that form through the manager. When
// the explorer closes (its Close event), or the add-in shuts down before, the manager closes its
// forms (and so saves the tables) and the panes are deleted.
//
// Without a factory nothing happens, silently: the host may drive the forms manager itself. A
// factory that fails leaves the add-in without panes and writes why to the log. Nothing thrown
// leaves these calls.
#include <memory>
#include <vector>

#include "platform/Dispatch.h"
#include "win/com/ComSupport.h"
#include "win/com/Generated.h"

class TAddInModule;

namespace win {

class TExplorerSink;

class TTaskPanes {
public:
    explicit TTaskPanes(TAddInModule& module);
    ~TTaskPanes();
    TTaskPanes(const TTaskPanes&) = delete;
    TTaskPanes& operator=(const TTaskPanes&) = delete;

    // Office's factory of custom task panes; null when the host has none.
    void SetFactory(ICTPFactory* factory);
    bool HasFactory() const { return static_cast<bool>(factory_); }

    // After the module's start-up: follows the application's active explorer and shows the panes
    // for its folder.
    void Start(IDispatch* application);
    // The explorer shows another folder.
    void FolderSwitched();
    // The explorer closes, or the add-in goes first: the forms close, the panes go.
    void Stop();
    // The user hid or showed the pane of that index (its close box).
    void PaneVisibilityChanged(size_t index);

    // The panes made (0 or 2), and whether they are shown, for a test.
    size_t PaneCount() const { return panes_.size(); }
    bool Shown() const { return shown_; }

private:
    struct TPane;
    void ShowFor(int itemType);
    void MakePanes();
    void SetVisible(bool visible);
    void Advise();
    void Unadvise();

    TAddInModule& module_;
    TComPtr<ICTPFactory> factory_;
    TComPtr<IDispatch> explorer_;
    std::shared_ptr<TExplorerSink> sink_;
    std::shared_ptr<platform::IConnectionPoint> events_;
    uint32_t cookie_ = 0;
    std::vector<std::unique_ptr<TPane>> panes_;
    bool started_ = false;
    bool failed_ = false;
    bool formsMade_ = false;
    bool shown_ = false;
};

}  // namespace win
