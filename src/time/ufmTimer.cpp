#include "time/ufmTimer.h"

TfmTimer::TfmTimer() : TForm("fmTimer", "Timer", 520, 80) {}
