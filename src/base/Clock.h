#pragma once
// "Now" and "today" for the whole system. The clock follows the machine's local time unless a
// test or a script has set it, in which case it stands still at the time set.
#include "base/DateTime.h"

TDateTime Now();
TDateTime Date();  // today, no time of day

// Sets the clock to stand at dt until it is set again or reset.
void SetClock(TDateTime dt);
void ResetClock();
bool ClockIsSet();
