#include "filing/ufmAppointments.h"

#include "filing/uAppointments.h"
#include "host/AddinModule.h"
#include "host/Globals.h"

TfmAppointments::TfmAppointments()
    : TadxOlForm("fmAppointments", "Appointments", 600, 300),
      clGlyph(cxGrid6DBTableView1.CreateColumn("clGlyph")),
      clSubject(cxGrid6DBTableView1.CreateColumn("clSubject", "Subject")),
      clStart(cxGrid6DBTableView1.CreateColumn("clStart", "Start")),
      clEnd(cxGrid6DBTableView1.CreateColumn("clEnd", "End")) {
    TcxGridDBTableView& v = cxGrid6DBTableView1;
    v.Options.CellSelect = false;
    v.Options.GroupByBox = false;
    v.PopupMenu = &PopupMenu1;
    clGlyph.Width = 26;  // no field and no drawing: the cell stays empty
    clSubject.Caption = "Subject";
    clStart.Caption = "Start";
    clEnd.Caption = "End";

    auto item = [this](const char* name) -> TNotifyEvent& {
        return static_cast<TMenuItem&>(ComponentByName(name)).OnClick;
    };
    PopupMenu1.Add("DisplayContact", "&Open appointment");
    PopupMenu1.Add("Removeappointment1", "&Remove appointment");
    Bind(item("DisplayContact"), "DisplayContactClick", &TfmAppointments::DisplayContactClick);
    Bind(item("Removeappointment1"), "Removeappointment1Click", &TfmAppointments::Removeappointment1Click);
    Bind(v.OnDblClick, "cxGrid6DBTableView1DblClick", &TfmAppointments::cxGrid6DBTableView1DblClick);
    PublishHandler("Deletetask2Click", [this] { Deletetask2Click(); });

    Bind(OnActivate, "adxOlFormActivate", &TfmAppointments::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmAppointments::adxOlFormClose);
    v.SetDataSource(&Globals().AddInModule->dsMemDataAppointments);
    // Layout: the grid fills the pane.
    cxGrid6.Align = TAlign::alClient;
    cxGrid6DBTableView1.Align = TAlign::alClient;
    AfterConstruction();
}

void TfmAppointments::adxOlFormActivate() {
    TModuleGlobals& g = Globals();
    g.fmAppointments = this;
    FilterAppointments(g.CurrentTaskID);
}

void TfmAppointments::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataAppointments}, {&TAddInModule::SaveAppointments});
}

void TfmAppointments::cxGrid6DBTableView1DblClick() {
    if (HasRecords(*Globals().MemDataAppointments)) ShowAppointmentItem();
}

void TfmAppointments::DisplayContactClick() { cxGrid6DBTableView1DblClick(); }

void TfmAppointments::Removeappointment1Click() {
    if (HasRecords(*Globals().MemDataAppointments)) RemoveAppointmentItem();
}

void TfmAppointments::Deletetask2Click() {
    if (!HasRecords(*Globals().MemDataAppointments)) return;
    if (ConfirmYesNo("Deleting this appointment will remove it from your Outlook calendar, and from any other task "
                     "with which it is associated.  Do you want to delete it?"))
        DeleteAppointmentItem();
}
