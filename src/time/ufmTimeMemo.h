#pragma once
// TfmTimeMemo: the dialog in which a time entry is typed or changed.
#include "toolkit/Forms.h"

class TfmTimeMemo : public TForm {
public:
    TfmTimeMemo();
};
