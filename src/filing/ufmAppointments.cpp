#include "filing/ufmAppointments.h"

#include "host/AddinModule.h"
#include "host/Globals.h"

TfmAppointments::TfmAppointments() : TadxOlForm("fmAppointments", "Appointments", 600, 300) {
    Bind(OnActivate, "adxOlFormActivate", &TfmAppointments::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmAppointments::adxOlFormClose);
    AfterConstruction();
}

void TfmAppointments::adxOlFormActivate() { Globals().fmAppointments = this; }

void TfmAppointments::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataAppointments}, {&TAddInModule::SaveAppointments});
}
