#include "filing/ufmNotes.h"

#include "filing/uNotes.h"
#include "host/AddinModule.h"
#include "host/Globals.h"
#include "support/FileLogger.h"

TfmNotes::TfmNotes()
    : TadxOlForm("fmNotes", "Notes", 600, 300),
      clGlyph(cxGridDBBandedTableView2.CreateColumn("clGlyph", "", 0)),
      clDate(cxGridDBBandedTableView2.CreateColumn("clDate", "Date", 0)),
      clAuthor(cxGridDBBandedTableView2.CreateColumn("clAuthor", "Author", 0)),
      clSubject(cxGridDBBandedTableView2.CreateColumn("clSubject", "Subject", 0)),
      clText(cxGridDBBandedTableView2.CreateColumn("clText", "Text", 1)) {
    TcxGridDBBandedTableView& v = cxGridDBBandedTableView2;
    v.Options.CellSelect = false;
    v.Options.BandHeaders = false;
    v.PopupMenu = &PopupMenu1;
    clGlyph.Width = 31;
    clDate.Caption = "Date";
    clAuthor.Caption = "Author";
    clAuthor.Width = 85;
    clSubject.Caption = "Subject";
    clSubject.Width = 481;
    clText.Caption = "Text";
    clText.Width = 637;
    clGlyph.OnCustomDrawCell = [this](TcxGridDBTableView& s, TcxCanvas& c, TcxGridTableDataCellViewInfo& i, bool& d) {
        clGlyphCustomDrawCell(s, c, i, d);
    };

    auto item = [this](const char* name) -> TNotifyEvent& {
        return static_cast<TMenuItem&>(ComponentByName(name)).OnClick;
    };
    PopupMenu1.Add("Displaytask1", "&Open note");
    PopupMenu1.Add("Deletetask2", "&Delete note");
    Bind(item("Displaytask1"), "Displaytask1Click", &TfmNotes::Displaytask1Click);
    Bind(item("Deletetask2"), "Deletetask2Click", &TfmNotes::Deletetask2Click);
    Bind(v.OnDblClick, "cxGridDBBandedTableView2DblClick", &TfmNotes::cxGridDBBandedTableView2DblClick);

    Bind(OnActivate, "adxOlFormActivate", &TfmNotes::adxOlFormActivate);
    Bind(OnShow, "adxOlFormShow", &TfmNotes::adxOlFormShow);
    Bind(OnClose, "adxOlFormClose", &TfmNotes::adxOlFormClose);
    v.SetDataSource(&Globals().AddInModule->dsMemDataNotes);
    // Layout: the grid fills the pane.
    cxGrid5.Align = TAlign::alClient;
    cxGridDBBandedTableView2.Align = TAlign::alClient;
    AfterConstruction();
}

void TfmNotes::adxOlFormActivate() {
    TModuleGlobals& g = Globals();
    g.fmNotes = this;
    FilterNotes(g.CurrentTaskID);
}

void TfmNotes::adxOlFormShow() {}

void TfmNotes::adxOlFormClose(TCloseAction&) {
    TAddInModule& m = *Globals().AddInModule;
    m.ClosePane({&m.MemDataNotes}, {&TAddInModule::SaveNotes});
}

void TfmNotes::clGlyphCustomDrawCell(TcxGridDBTableView&, TcxCanvas& ACanvas, TcxGridTableDataCellViewInfo& AViewInfo,
                                     bool& ADone) {
    LogInfo("TfmNotes.clGlyphCustomDrawCell. start");
    ACanvas.DrawImage(cxImageList1, AViewInfo.Bounds.Left, AViewInfo.Bounds.Top, 0);
    ADone = true;
    LogInfo("TfmNotes.clGlyphCustomDrawCell. end");
}

void TfmNotes::cxGridDBBandedTableView2DblClick() {
    if (HasRecords(*Globals().MemDataNotes)) ShowPostItem();
}

void TfmNotes::Displaytask1Click() {
    if (HasRecords(*Globals().MemDataNotes)) ShowPostItem();
    LogInfo("TfmNotes.Displaytask1Click. end");
}

void TfmNotes::Deletetask2Click() {
    if (!HasRecords(*Globals().MemDataNotes)) return;
    if (ConfirmYesNo("Delete this note?")) DeletePostItem();
}
