#pragma once
// TfmNotes: the pane "Notes". It lists the notes (posts in "CorvelleNotes") filed against the
// focused task, two lines a note, opens and deletes them, and saves the notes table when the
// explorer closes. Its drawing and opening leave info lines in the day log.
#include "framework/OlForm.h"
#include "toolkit/Controls.h"
#include "toolkit/DBGrid.h"
#include "toolkit/Graphics.h"

class TfmNotes : public TadxOlForm {
public:
    TfmNotes();

    TcxGrid cxGrid5{this, "cxGrid5"};
    TcxGridDBBandedTableView cxGridDBBandedTableView2{this, "cxGridDBBandedTableView2", &cxGrid5};
    TcxGridDBBandedColumn& clGlyph;
    TcxGridDBBandedColumn& clDate;
    TcxGridDBBandedColumn& clAuthor;
    TcxGridDBBandedColumn& clSubject;
    TcxGridDBBandedColumn& clText;
    // 0: the note mark.
    TcxImageList cxImageList1{this, "cxImageList1", 1};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    void adxOlFormActivate();
    void adxOlFormShow();
    void adxOlFormClose(TCloseAction& Action);
    void clGlyphCustomDrawCell(TcxGridDBTableView& Sender, TcxCanvas& ACanvas, TcxGridTableDataCellViewInfo& AViewInfo,
                               bool& ADone);
    void cxGridDBBandedTableView2DblClick();
    void Displaytask1Click();
    void Deletetask2Click();
};
