#include "time/ufmTimeMemo.h"

TfmTimeMemo::TfmTimeMemo() : TForm("fmTimeMemo", "Time Memo", 480, 360) {}
