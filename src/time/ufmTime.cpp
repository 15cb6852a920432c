#include "time/ufmTime.h"

#include "host/AddinModule.h"
#include "host/Globals.h"

TfmTime::TfmTime() : TadxOlForm("fmTime", "Time", 600, 300) {
    Bind(OnActivate, "adxOlFormActivate", &TfmTime::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmTime::adxOlFormClose);
    AfterConstruction();
}

void TfmTime::adxOlFormActivate() { Globals().fmTime = this; }

void TfmTime::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataTime}, {&TAddInModule::SaveTime});
}
