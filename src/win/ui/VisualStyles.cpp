#include "win/ui/VisualStyles.h"

namespace win::ui {

namespace {

HMODULE ThisModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ThisModule), &module);
    return module;
}

// The module's activation context, made once; null when the module carries no manifest 2.
HANDLE Context() {
    static HANDLE context = [] {
        ACTCTXW a{};
        a.cbSize = sizeof a;
        a.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        a.hModule = ThisModule();
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
