#pragma once
// The Windows face of the headless forms: a form's window (a pane inside a parent window, or a
// top-level window) holds one standard Windows control for each of the form's controls, laid out
// by the form's own geometry. The windows hold no state of their own: they show what the controls
// hold, and the user's input becomes the same calls on the controls that the scripted host makes,
// so every handler runs as it does headless. After each input and timer tick handled, and twice a
// second besides, every form window reads its controls again (Refresh).
#include <windows.h>
#include <commctrl.h>

#include <functional>
#include <memory>

class TForm;
class TControl;
class TcxImageList;

namespace win::ui {

class TFormWindow {
public:
    virtual ~TFormWindow() = default;
    virtual HWND Handle() const = 0;
    // Places the window (a pane: in its parent's client area; a top-level window: its frame).
    virtual void SetBounds(int x, int y, int w, int h) = 0;
    virtual TForm& Form() const = 0;
    // Reads everything shown again from the form's controls.
    virtual void Refresh() = 0;
    // The window that shows a control; nullptr for one with none.
    virtual HWND ControlHandle(const TControl& control) const = 0;
};

// The form as a child window of parent, filling what SetBounds gives it (the panes).
std::unique_ptr<TFormWindow> CreatePaneWindow(TForm& form, HWND parent);
// The form as a top-level window owned by owner (may be null): shown and hidden as the form is,
// its client area the form's size, centred in the work area, or in the screen's top right for a
// stay-on-top form; the caption is the form's.
std::unique_ptr<TFormWindow> CreateTopWindow(TForm& form, HWND owner);
// The window made for a form; nullptr when there is none.
TFormWindow* FindFormWindow(const TForm& form);
// Refreshes every form window of the process.
void RefreshAll();
// Whether the forms' timers run on their windows' timers (the default). A host that ticks the
// timers itself (the script bridge) turns them off.
void SetFormTimersRun(bool run);

// Where pictures come from. The provider gets a form and one of its image lists (the grids'
// cells), or the form and nullptr for the pictures of the form's own glyphs (its tool bar, buttons
// and menus, the task tree's states); it returns the image list to draw from, or null for none
// (the default: nothing is drawn). The form may be null (a menu of no form).
using TImageListProvider = std::function<HIMAGELIST(const TForm* form, const TcxImageList* list)>;
void SetImageListProvider(TImageListProvider provider);
HIMAGELIST ImageListFor(const TForm* form, const TcxImageList* list = nullptr);

// The hosts of a desktop: a modal loop on real windows (the owner disabled, timers and other
// windows running meanwhile, the form's modal result ending it) and menus tracked at the pointer.
// Install sets them as the process's hosts; Uninstall puts back what was there. Modal forms get
// top-level windows owned by owner.
void InstallHosts(HWND owner);
void UninstallHosts();

}  // namespace win::ui
