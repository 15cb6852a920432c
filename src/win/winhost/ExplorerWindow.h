#pragma once
// TExplorerWindow: corvelle-winhost's stand-in for Outlook's explorer window, drawn with the
// common controls: the folder list (a tree view of the simulated mailbox), the item list of the
// folder shown (a list view), and the reading pane with the selected item. It is Office's custom
// task pane service for the add-in: its ICTPFactory makes each pane around the ActiveX control
// named (by ProgID), acts as the control's container (IOleClientSite, IOleInPlaceSite), and docks
// the pane at the side it is given, with a caption bar of the pane's title, beside the explorer's
// own parts: a pane on the right takes the window's height, a pane at the bottom the width left
// of it. SaveScreenshot keeps the screen or one window as a PNG file (WIC's encoder).
#include <memory>
#include <string>
#include <vector>

#include "win/com/ComSupport.h"
#include "win/com/Generated.h"

namespace sim {
class TSimOutlook;
}

namespace win {

class TExplorerWindow {
public:
    explicit TExplorerWindow(sim::TSimOutlook& outlook);
    ~TExplorerWindow();
    TExplorerWindow(const TExplorerWindow&) = delete;
    TExplorerWindow& operator=(const TExplorerWindow&) = delete;

    HWND Window() const { return window_; }
    // The task pane service; the same object each time.
    ICTPFactory* Factory() const { return factory_.Get(); }
    // From now on the service fails every pane it is asked for (E_FAIL), as a broken Office's.
    void FailPaneService() { failPanes_ = true; }

    // Shows the mailbox's folders and the folder the explorer shows, with its items.
    void ShowFolder();
    // Runs the window messages waiting, so that everything is drawn.
    void Pump();

    // The panes made and not deleted, in the order they were made.
    struct TPaneInfo {
        std::string title;
        bool visible;
        MsoCTPDockPosition position;
        HWND frame;
    };
    std::vector<TPaneInfo> Panes() const;
    // Deletes every pane that is left (the explorer closes).
    void DeletePanes();
    // Chooses the tab of that text in a visible pane, as a click on it does (the pane's control
    // hears of it as of a click); false when no visible pane has such a tab.
    bool ChooseTab(const std::string& text);
    // The user closes the visible pane of that title with its close box; false when there is none.
    bool ClosePane(const std::string& title);

    class TPane;
    class TFactory;
    void Layout();

private:
    void Forget(TPane* pane);
    friend class TPane;

    sim::TSimOutlook& outlook_;
    HWND window_ = nullptr;
    HWND folders_ = nullptr;
    HWND items_ = nullptr;
    HWND reading_ = nullptr;
    TComPtr<ICTPFactory> factory_;
    std::vector<TComPtr<_CustomTaskPane>> panes_;
    bool failPanes_ = false;
};

// Saves the screen (window null) or the window's client area as a PNG file, once the thread's
// windows have handled what waits for them for a little over half a second; raises with the
// reason when it cannot.
void SaveScreenshot(HWND window, const std::wstring& file);

}  // namespace win
