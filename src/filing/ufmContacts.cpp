#include "filing/ufmContacts.h"

#include "host/AddinModule.h"
#include "host/Globals.h"

TfmContacts::TfmContacts() : TadxOlForm("fmContacts", "Contacts", 600, 300) {
    Bind(OnActivate, "adxOlFormActivate", &TfmContacts::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmContacts::adxOlFormClose);
    AfterConstruction();
}

void TfmContacts::adxOlFormActivate() { Globals().fmContacts = this; }

void TfmContacts::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataContacts, &m.MemDataDistLists}, {&TAddInModule::SaveContacts, &TAddInModule::SaveDistLists});
}
