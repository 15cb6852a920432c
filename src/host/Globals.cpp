#include "host/Globals.h"

#include "base/Exceptions.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"

namespace {
// The variables of the module made last and still alive.
TModuleGlobals* current = nullptr;
}  // namespace

TModuleGlobals::TModuleGlobals() { current = this; }

TModuleGlobals::~TModuleGlobals() {
    if (current == this) current = nullptr;
}

TModuleGlobals& Globals() {
    if (!current) throw EAccessViolation("Access violation: no add-in module is loaded");
    return *current;
}

bool HaveGlobals() { return current != nullptr; }
