#pragma once
// TfmTimer: the stay-on-top strip that runs a stopwatch against one task.
#include "toolkit/Forms.h"

class TfmTimer : public TForm {
public:
    TfmTimer();
};
