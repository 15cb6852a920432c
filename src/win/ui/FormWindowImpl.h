#pragma once
// The form window behind TFormWindow: the container windows, the views by control and by window,
// the layout, the form's timers, the tooltips, and the refresh that every input schedules.
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "win/ui/Views.h"
#include "win/ui/WinUi.h"

namespace win::ui {

// The window class of forms and of the containers inside them (panels, boxes, pages, grids):
// they pass their children's notifications to the views.
extern const wchar_t* const kContainerClass;
void RegisterClasses();
// Asks for a refresh of every form window once the current message is handled.
void RequestRefresh();
// True while windows are being brought up to date: the notifications that this sends are not
// the user's.
bool Refreshing();
// Runs before every refresh of all windows (the desktop makes windows for forms shown by code).
void SetBeforeRefresh(std::function<void()> hook);

class TFormWindowImpl : public TFormWindow {
public:
    TFormWindowImpl(TForm& form, HWND parent, bool topLevel);
    ~TFormWindowImpl() override;

    HWND Handle() const override { return hwnd_; }
    void SetBounds(int x, int y, int w, int h) override;
    TForm& Form() const override { return form_; }
    void Refresh() override;
    HWND ControlHandle(const TControl& control) const override;

    bool TopLevel() const { return topLevel_; }
    TView* ViewOf(const TControl& control) const;
    // Windows of the views that notify (a view may own several windows).
    void Own(HWND hwnd, TView& view) { byWindow_[hwnd] = &view; }
    TView* ViewOfWindow(HWND hwnd) const;
    HWND Tooltips() const { return tooltips_; }
    // A timer that calls the view back, on the form's window.
    void StartViewTimer(TView& view, int milliseconds);
    void StopViewTimer(TView& view);

    // The form window's own messages; false for those it leaves to the default.
    bool Handle(UINT msg, WPARAM wp, LPARAM lp, LRESULT& result);
    // Places every view for the client area's size now.
    void Layout();

private:
    void CreateViews(const TControl* parent, HWND parentWindow);
    void SyncTimers();
    void SyncTopWindow();
    void SyncFocus();

    TForm& form_;
    bool topLevel_;
    HWND hwnd_ = nullptr;
    HWND tooltips_ = nullptr;
    std::vector<std::unique_ptr<TView>> views_;
    std::unordered_map<const TControl*, TView*> byControl_;
    std::unordered_map<HWND, TView*> byWindow_;
    std::map<UINT_PTR, TTimer*> formTimers_;      // by timer id
    std::map<TTimer*, int> runningTimers_;        // the interval each runs at
    std::map<UINT_PTR, TView*> viewTimers_;
    bool placed_ = false;
    POINT placedAt_{0, 0};
};

}  // namespace win::ui
