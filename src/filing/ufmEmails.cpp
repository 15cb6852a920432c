#include "filing/ufmEmails.h"

#include "base/Guard.h"
#include "filing/uEmails.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "tasks/uTasks.h"

TfmEmails::TfmEmails()
    : TadxOlForm("fmEmails", "Emails", 600, 300),
      clMessageClass(cxGridDBBandedTableView1.CreateColumn("clMessageClass", "MessageClass", 0)),
      clAttachments(cxGridDBBandedTableView1.CreateColumn("clAttachments", "Attachments", 0)),
      clDate(cxGridDBBandedTableView1.CreateColumn("clDate", "Date", 0)),
      clAuthor(cxGridDBBandedTableView1.CreateColumn("clAuthor", "From", 0)),
      clSubject(cxGridDBBandedTableView1.CreateColumn("clSubject", "Subject", 0)),
      clText(cxGridDBBandedTableView1.CreateColumn("clText", "Text", 1)) {
    TcxGridDBBandedTableView& v = cxGridDBBandedTableView1;
    v.Options.CellSelect = false;
    v.Options.GroupByBox = false;
    v.Options.BandHeaders = false;
    v.Options.CellEndEllipsis = true;
    v.PopupMenu = &PopupMenu1;
    clMessageClass.Width = 25;
    clAttachments.Width = 24;
    clDate.Caption = "Date";
    clAuthor.Caption = "Author";
    clAuthor.Width = 85;
    clSubject.Caption = "Subject";
    clSubject.Width = 481;
    clText.Caption = "Text";
    clText.Width = 635;
    clMessageClass.OnCustomDrawCell = [this](TcxGridDBTableView& s, TcxCanvas& c, TcxGridTableDataCellViewInfo& i,
                                             bool& d) { clMessageClassCustomDrawCell(s, c, i, d); };
    clAttachments.OnCustomDrawCell = [this](TcxGridDBTableView& s, TcxCanvas& c, TcxGridTableDataCellViewInfo& i,
                                            bool& d) { clAttachmentsCustomDrawCell(s, c, i, d); };

    auto item = [this](const char* name) -> TNotifyEvent& {
        return static_cast<TMenuItem&>(ComponentByName(name)).OnClick;
    };
    PopupMenu1.Add("OpenEmail1", "&Open email");
    PopupMenu1.Add("Deleteemail1", "&Delete email");
    Bind(item("OpenEmail1"), "OpenEmail1Click", &TfmEmails::OpenEmail1Click);
    Bind(item("Deleteemail1"), "Deleteemail1Click", &TfmEmails::Deleteemail1Click);
    Bind(v.OnDblClick, "cxGridDBBandedTableView1DblClick", &TfmEmails::cxGridDBBandedTableView1DblClick);
    PublishHandler("N1Click", [this] { N1Click(); });

    Bind(OnActivate, "adxOlFormActivate", &TfmEmails::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmEmails::adxOlFormClose);
    v.SetDataSource(&Globals().AddInModule->dsMemDataEmails);
    // Layout: the grid fills the pane.
    cxGrid1.Align = TAlign::alClient;
    cxGridDBBandedTableView1.Align = TAlign::alClient;
    AfterConstruction();
}

void TfmEmails::adxOlFormActivate() {
    TModuleGlobals& g = Globals();
    g.fmEmails = this;
    FilterEmails(g.CurrentTaskID);
}

void TfmEmails::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataEmails}, {&TAddInModule::SaveEmails});
}

void TfmEmails::clMessageClassCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas,
                                             TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone) {
    // The class text is never shown: a mail of either class shows the mail mark, others nothing.
    Variant value = AViewInfo.Value();
    if (value.type() == Variant::Type::String && (value.AsString() == "IPM.Mail" || value.AsString() == "IPM.Note"))
        ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, 1);
    ADone = true;
}

void TfmEmails::clAttachmentsCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas,
                                            TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone) {
    Variant value = AViewInfo.Value();
    bool marked = !value.IsNull() && value.type() == Variant::Type::Integer && value.AsInt64() == 1;
    ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, marked ? 0 : -1);
    ADone = true;
}

void TfmEmails::cxGridDBBandedTableView1DblClick() {
    if (HasRecords(*Globals().MemDataEmails)) ShowMailItem();
}

void TfmEmails::OpenEmail1Click() { cxGridDBBandedTableView1DblClick(); }

void TfmEmails::Deleteemail1Click() {
    if (!HasRecords(*Globals().MemDataEmails)) return;
    if (ConfirmYesNo("Delete this email?")) DeleteMailItem();
}

void TfmEmails::N1Click() {
    Swallow([] {
        TModuleGlobals& g = Globals();
        std::string subject = GetNodeFullDescription(g.FocusedNode);
        platform::Use(CreateMailItem(g.CurrentTaskID, subject, "")).Display(false);
    });
}
