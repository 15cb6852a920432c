#include "filing/ufmEmails.h"

#include "host/AddinModule.h"
#include "host/Globals.h"

TfmEmails::TfmEmails() : TadxOlForm("fmEmails", "Emails", 600, 300) {
    Bind(OnActivate, "adxOlFormActivate", &TfmEmails::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmEmails::adxOlFormClose);
    AfterConstruction();
}

void TfmEmails::adxOlFormActivate() { Globals().fmEmails = this; }

void TfmEmails::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataEmails}, {&TAddInModule::SaveEmails});
}
