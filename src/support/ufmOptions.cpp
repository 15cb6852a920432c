#include "support/ufmOptions.h"

TfmOptions::TfmOptions() : TForm("fmOptions", "Completed Tasks", 330, 130) {}
