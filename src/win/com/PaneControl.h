#pragma once
// TPaneControl: the ActiveX control that Office's custom task panes host (coclass CorvellePane,
// ProgID "Corvelle.Pane"), the smallest control Office takes: in-place activation (IOleObject,
// IOleInPlaceObject, IOleInPlaceActiveObject, IOleWindow), and IPersistStreamInit, IQuickActivate,
// IViewObject2 and an IDispatch with no members (the pane's ContentControl) answered. Once its
// site activates it, it makes its window as a child of the site's window and keeps it at the
// rectangle the site gives. The add-in gives it the forms to show: one fills the window, more than
// one stand as the pages of a tab control, in the order given. What a form shows inside comes
// from the content factory (win::panes). A click into a page, or choosing its tab, reports the
// page's pane as activated. No exception leaves a COM call or the window procedure.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "win/com/ComSupport.h"

class TForm;

namespace win {

namespace panes {

// What a pane shows of a form, inside the pane's window.
class IPaneContent {
public:
    virtual ~IPaneContent() = default;
    // Its place, in the client coordinates of the window it was made in.
    virtual void SetBounds(const RECT& bounds) = 0;
};

// Makes the content of a form inside parent; null when it cannot.
using TPaneContentFactory = std::function<std::unique_ptr<IPaneContent>(TForm& form, HWND parent)>;

// Sets what every pane made from now on shows; an empty factory restores the default, which only
// paints the form's caption.
void SetPaneContentFactory(TPaneContentFactory factory);
// The content of a form by the factory set (the default when none); null when the factory
// failed (it throws or gives nothing).
std::unique_ptr<IPaneContent> MakePaneContent(TForm& form, HWND parent);

}  // namespace panes

// One page of a pane: its tab's text, its form, and the position of its item in the forms
// manager (reported when the page is activated).
struct TPanePage {
    std::string title;
    TForm* form = nullptr;
    int paneIndex = 0;
};

// Makes a new pane control and answers its interface iid (the class factory's work).
HRESULT CreatePaneControl(REFIID iid, void** out);

// What the add-in asks of its control.
class IPaneControl {
public:
    // Shows these pages; their content is made now if the control has its window, else when it
    // gets it. The old pages' content goes first.
    virtual void ShowPages(std::vector<TPanePage> pages) = 0;
    // Drops every page's content (before their forms go).
    virtual void ClearPages() = 0;
    // Called with a page's pane index when the user activates it.
    virtual void SetActivateHandler(std::function<void(int paneIndex)> handler) = 0;
    // The control's window; null before its site activates it.
    virtual HWND Window() const = 0;
    // The page in front (its position among the pages); -1 without pages.
    virtual int CurrentPage() const = 0;

protected:
    ~IPaneControl() = default;
};

// The pane control behind an interface pointer of it (it stays alive while that is held); null
// for any other object.
IPaneControl* PaneControlOf(IUnknown* unknown);

}  // namespace win
