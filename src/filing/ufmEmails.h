#pragma once
// TfmEmails: the pane "Emails" docked below the folder view. It lists the mails filed against
// the focused task, two lines a mail (the header line, then the body as a preview), opens and
// deletes them, and saves the emails table when the explorer closes.
#include "framework/OlForm.h"
#include "toolkit/Controls.h"
#include "toolkit/DBGrid.h"
#include "toolkit/Graphics.h"

class TfmEmails : public TadxOlForm {
public:
    TfmEmails();

    TcxGrid cxGrid1{this, "cxGrid1"};
    TcxGridDBBandedTableView cxGridDBBandedTableView1{this, "cxGridDBBandedTableView1", &cxGrid1};
    TcxGridDBBandedColumn& clMessageClass;
    TcxGridDBBandedColumn& clAttachments;
    TcxGridDBBandedColumn& clDate;
    TcxGridDBBandedColumn& clAuthor;
    TcxGridDBBandedColumn& clSubject;
    TcxGridDBBandedColumn& clText;
    // 0: the attachment mark; 1: the mail mark.
    TcxImageList cxImageList1{this, "cxImageList1", 2};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
    void clMessageClassCustomDrawCell(TcxGridDBTableView& Sender, TcxCanvas& ACanvas,
                                      TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone);
    void clAttachmentsCustomDrawCell(TcxGridDBTableView& Sender, TcxCanvas& ACanvas,
                                     TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone);
    void cxGridDBBandedTableView1DblClick();
    void OpenEmail1Click();
    void Deleteemail1Click();
    // Bound to no menu item: a new mail for the focused task.
    void N1Click();
};
