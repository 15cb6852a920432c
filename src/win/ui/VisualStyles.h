#pragma once
// The themed look of the common controls (version 6) for the windows this library makes, also
// inside a host whose own controls are of the older version: while a TStyledScope lives, the
// activation context of the module's own manifest (resource 2, as an add-in carries it) is the
// active one, so the windows made meanwhile are of version 6. Where the module has no such
// manifest (a program whose manifest serves the whole process), the scope does nothing.
#include <windows.h>

namespace win::ui {

class TStyledScope {
public:
    TStyledScope();
    ~TStyledScope();
    TStyledScope(const TStyledScope&) = delete;
    TStyledScope& operator=(const TStyledScope&) = delete;

private:
    ULONG_PTR cookie_ = 0;
    bool active_ = false;
};

}  // namespace win::ui
