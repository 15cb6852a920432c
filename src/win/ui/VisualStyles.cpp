#include "win/ui/VisualStyles.h"

#include "win/platform/WinServices.h"

namespace win::ui {

namespace {

// The module's activation context, made once; null when the module carries no manifest 2.
HANDLE Context() {
    static HANDLE context = [] {
        ACTCTXW a{};
        a.cbSize = sizeof a;
        a.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        a.hModule = win::ThisModule();
        a.lpResourceName = MAKEINTRESOURCEW(2);
        HANDLE h = CreateActCtxW(&a);
        return h == INVALID_HANDLE_VALUE ? nullptr : h;
    }();
    return context;
}

}  // namespace

TStyledScope::TStyledScope() {
    if (HANDLE context = Context()) active_ = ActivateActCtx(context, &cookie_) != FALSE;
}

TStyledScope::~TStyledScope() {
    if (active_) DeactivateActCtx(0, cookie_);
}

}  // namespace win::ui
