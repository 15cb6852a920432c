#pragma once
// The views inside a form window: one a control, made by MakeView for the control's class. A view
// creates its window(s) as children of a container window, shows what its control holds on
// Refresh, and turns the notifications its window sends into the control's user calls. Every
// entry point catches what a handler throws, so that nothing crosses a window procedure.
#include <windows.h>
#include <commctrl.h>

#include <memory>
#include <string>

#include "toolkit/Controls.h"

namespace win::ui {

class TFormWindowImpl;

std::wstring W(const std::string& utf8);
std::string U(const std::wstring& wide);
std::string WindowText(HWND hwnd);
// Sets a window's text only when it differs (so that no change notification is sent for nothing).
void SetText(HWND hwnd, const std::string& utf8);
// Runs a call into the model; what it throws is kept from the window procedure (and logged).
void Guarded(const char* where, const std::function<void()>& call);
// A watch on the calls that go through Guarded (the scripted input counts the user calls its
// messages make, and keeps what they throw for its caller). Returns the watch it replaces.
class IGuardWatch {
public:
    virtual void Run(const char* where, const std::function<void()>& call) = 0;

protected:
    ~IGuardWatch() = default;
};
IGuardWatch* SetGuardWatch(IGuardWatch* watch);
HFONT DialogFont();

class TView {
public:
    TView(TFormWindowImpl& owner, TControl& control) : owner_(owner), control_(control) {}
    virtual ~TView() = default;
    TControl& Control() const { return control_; }
    // The outer window, placed by the layout.
    HWND Handle() const { return hwnd_; }
    // The window that children of the control go in (a panel, a group box, a page); null for none.
    virtual HWND ChildArea() const { return nullptr; }
    // Creates the window(s) under parent.
    virtual void Create(HWND parent) = 0;
    // Places the view in its parent.
    virtual void Place(int x, int y, int w, int h);
    // Shows what the control holds now.
    virtual void Refresh();
    // Notifications from the view's windows. Handled returns true.
    virtual bool Command(HWND from, int code, int id) { return false; }
    virtual bool Notify(NMHDR* header, LRESULT& result) { return false; }
    virtual bool DrawItem(DRAWITEMSTRUCT*) { return false; }
    virtual bool MeasureItem(MEASUREITEMSTRUCT*) { return false; }
    virtual void Timer() {}

protected:
    HWND MakeWindow(HWND parent, const wchar_t* cls, const std::string& text, DWORD style, DWORD exStyle = 0);
    // Enabled, visible and the tooltip follow the control.
    void RefreshCommon(HWND hwnd);
    void RefreshCommon(HWND hwnd, bool visible);
    TFormWindowImpl& owner_;
    TControl& control_;
    HWND hwnd_ = nullptr;
};

std::unique_ptr<TView> MakeView(TFormWindowImpl& owner, TControl& control);
std::unique_ptr<TView> MakeTreeView(TFormWindowImpl& owner, TcxDBTreeList& tree);
std::unique_ptr<TView> MakeGridView(TFormWindowImpl& owner, TcxGridDBTableView& view);
// The menu at a point of the screen; what the user picks is clicked as a menu's click is.
void TrackMenu(TPopupMenu& menu, HWND owner, int x, int y);

}  // namespace win::ui
