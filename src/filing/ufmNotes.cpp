#include "filing/ufmNotes.h"

#include "host/AddinModule.h"
#include "host/Globals.h"

TfmNotes::TfmNotes() : TadxOlForm("fmNotes", "Notes", 600, 300) {
    Bind(OnActivate, "adxOlFormActivate", &TfmNotes::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmNotes::adxOlFormClose);
    AfterConstruction();
}

void TfmNotes::adxOlFormActivate() { Globals().fmNotes = this; }

void TfmNotes::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataNotes}, {&TAddInModule::SaveNotes});
}
