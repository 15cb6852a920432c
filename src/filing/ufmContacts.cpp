#include "filing/ufmContacts.h"

#include "filing/uContacts.h"
#include "host/AddinModule.h"
#include "host/Globals.h"

TfmContacts::TfmContacts()
    : TadxOlForm("fmContacts", "Contacts", 600, 300),
      clGlyph(cxGrid6DBTableView1.CreateColumn("clGlyph")),
      clName(cxGrid6DBTableView1.CreateColumn("clName", "Name")),
      clAddress(cxGrid6DBTableView1.CreateColumn("clAddress", "Address")),
      clTelephone(cxGrid6DBTableView1.CreateColumn("clTelephone", "Telephone")),
      clEmail(cxGrid6DBTableView1.CreateColumn("clEmail", "Email")),
      cl3Glyph(cxGrid7DBTableView1.CreateColumn("cl3Glyph")),
      cl3Description(cxGrid7DBTableView1.CreateColumn("cl3Description", "Subject")) {
    cxTabSheet1.SetCaption("Contacts");
    cxTabSheet4.SetCaption("Distribution Lists");
    for (TcxGridDBTableView* v : {&cxGrid6DBTableView1, &cxGrid7DBTableView1}) {
        v->Options.CellSelect = false;
        v->Options.GroupByBox = false;
    }
    cxGrid6DBTableView1.PopupMenu = &PopupMenu1;
    cxGrid7DBTableView1.PopupMenu = &PopupMenu2;
    clGlyph.Width = 20;
    clName.Caption = "Name";
    clName.Width = 203;
    clAddress.Caption = "Address";
    clTelephone.Caption = "Telephone";
    clEmail.Caption = "Email";
    clEmail.Width = 200;
    cl3Description.Caption = "Description";
    clGlyph.OnCustomDrawCell = [this](TcxGridDBTableView& s, TcxCanvas& c, TcxGridTableDataCellViewInfo& i, bool& d) {
        clGlyphCustomDrawCell(s, c, i, d);
    };
    cl3Glyph.OnCustomDrawCell = [this](TcxGridDBTableView& s, TcxCanvas& c, TcxGridTableDataCellViewInfo& i,
                                       bool& d) { cl3GlyphCustomDrawCell(s, c, i, d); };

    auto item = [this](const char* name) -> TNotifyEvent& {
        return static_cast<TMenuItem&>(ComponentByName(name)).OnClick;
    };
    PopupMenu1.Add("DisplayContact", "&Open contact");
    PopupMenu1.Add("RemoveContact1", "&Remove Contact");
    PopupMenu2.Add("MenuItem4", "O&pen distribution list");
    PopupMenu2.Add("Removedistributionlist1", "&Remove distribution list");
    Bind(item("DisplayContact"), "DisplayContactClick", &TfmContacts::DisplayContactClick);
    Bind(item("RemoveContact1"), "RemoveContact1Click", &TfmContacts::RemoveContact1Click);
    Bind(item("MenuItem4"), "Opendistributionlist1Click", &TfmContacts::Opendistributionlist1Click);
    Bind(item("Removedistributionlist1"), "Removedistributionlist1Click", &TfmContacts::Removedistributionlist1Click);
    Bind(cxGrid6DBTableView1.OnDblClick, "cxGrid6DBTableView1DblClick", &TfmContacts::cxGrid6DBTableView1DblClick);
    Bind(cxGrid7DBTableView1.OnDblClick, "cxGrid7DBTableView1DblClick", &TfmContacts::cxGrid7DBTableView1DblClick);
    PublishHandler("Deletetask2Click", [this] { Deletetask2Click(); });
    PublishHandler("MenuItem5Click", [this] { MenuItem5Click(); });

    Bind(OnActivate, "adxOlFormActivate", &TfmContacts::adxOlFormActivate);
    Bind(OnClose, "adxOlFormClose", &TfmContacts::adxOlFormClose);
    cxGrid6DBTableView1.SetDataSource(&Globals().AddInModule->dsMemDataContacts);
    cxGrid7DBTableView1.SetDataSource(&Globals().AddInModule->dsMemDataDistLists);
    // Layout: the pages fill the pane, each page's grid fills its page.
    tcxPageControl3.Align = TAlign::alClient;
    cxTabSheet1.Align = TAlign::alClient;
    cxTabSheet4.Align = TAlign::alClient;
    cxGrid6.Align = TAlign::alClient;
    cxGrid6DBTableView1.Align = TAlign::alClient;
    cxGrid7.Align = TAlign::alClient;
    cxGrid7DBTableView1.Align = TAlign::alClient;
    AfterConstruction();
}

void TfmContacts::adxOlFormActivate() {
    TModuleGlobals& g = Globals();
    g.fmContacts = this;
    // Only the page in front is narrowed again; switching pages narrows nothing.
    if (tcxPageControl3.ActivePageIndex() == 0) FilterContacts(g.CurrentTaskID);
    if (tcxPageControl3.ActivePageIndex() == 1) FilterDistLists(g.CurrentTaskID);
}

void TfmContacts::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataContacts, &m.MemDataDistLists}, {&TAddInModule::SaveContacts, &TAddInModule::SaveDistLists});
}

void TfmContacts::clGlyphCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas,
                                        TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone) {
    ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, 0);
    ADone = true;
}

void TfmContacts::cl3GlyphCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas,
                                         TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone) {
    ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, 1);
    ADone = true;
}

void TfmContacts::cxGrid6DBTableView1DblClick() {
    if (HasRecords(*Globals().MemDataContacts)) ShowContactItem();
}

void TfmContacts::DisplayContactClick() { cxGrid6DBTableView1DblClick(); }

void TfmContacts::cxGrid7DBTableView1DblClick() {
    if (HasRecords(*Globals().MemDataDistLists)) ShowDistListItem();
}

void TfmContacts::Opendistributionlist1Click() { cxGrid7DBTableView1DblClick(); }

void TfmContacts::RemoveContact1Click() {
    if (HasRecords(*Globals().MemDataContacts)) RemoveContactItem();
}

void TfmContacts::Removedistributionlist1Click() {
    if (HasRecords(*Globals().MemDataDistLists)) RemoveDistListItem();
}

void TfmContacts::Deletetask2Click() {
    if (!HasRecords(*Globals().MemDataContacts)) return;
    if (ConfirmYesNo("Deleting this contact will remove it from your Outlook contacts, and from any other task with "
                     "which it is associated.  Do you want to delete it?"))
        DeleteContactItem();
}

void TfmContacts::MenuItem5Click() {
    if (!HasRecords(*Globals().MemDataDistLists)) return;
    if (ConfirmYesNo("Deleting this distribution list will remove it from your Outlook contacts, and from any other "
                     "task with which it is associated.  Do you want to delete it?"))
        DeleteDistListItem();
}
