#pragma once
// TfmContacts: the pane "Contacts", with the contacts and the distribution lists filed against
// the focused task on two tab pages. It opens and removes them (its menus offer no delete), and
// saves both tables when the explorer closes.
#include "framework/OlForm.h"
#include "toolkit/Controls.h"
#include "toolkit/DBGrid.h"
#include "toolkit/Graphics.h"

class TfmContacts : public TadxOlForm {
public:
    TfmContacts();

    TPageControl tcxPageControl3{this, "tcxPageControl3"};
    TTabSheet cxTabSheet1{this, "cxTabSheet1", tcxPageControl3};
    TTabSheet cxTabSheet4{this, "cxTabSheet4", tcxPageControl3};
    TcxGrid cxGrid6{this, "cxGrid6", &cxTabSheet1};
    TcxGridDBTableView cxGrid6DBTableView1{this, "cxGrid6DBTableView1", &cxGrid6};
    TcxGridDBColumn& clGlyph;
    TcxGridDBColumn& clName;
    TcxGridDBColumn& clAddress;
    TcxGridDBColumn& clTelephone;
    TcxGridDBColumn& clEmail;
    TcxGrid cxGrid7{this, "cxGrid7", &cxTabSheet4};
    TcxGridDBTableView cxGrid7DBTableView1{this, "cxGrid7DBTableView1", &cxGrid7};
    TcxGridDBColumn& cl3Glyph;
    TcxGridDBColumn& cl3Description;
    // 0: the contact mark; 1: the list mark.
    TcxImageList cxImageList1{this, "cxImageList1", 2};
    TPopupMenu PopupMenu1{this, "PopupMenu1"};
    TPopupMenu PopupMenu2{this, "PopupMenu2"};

    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
    void clGlyphCustomDrawCell(TcxGridDBTableView& Sender, TcxCanvas& ACanvas, TcxGridTableDataCellViewInfo& AViewInfo,
                               bool& ADone);
    void cl3GlyphCustomDrawCell(TcxGridDBTableView& Sender, TcxCanvas& ACanvas,
                                TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone);
    void cxGrid6DBTableView1DblClick();
    void DisplayContactClick();
    void cxGrid7DBTableView1DblClick();
    void Opendistributionlist1Click();
    void RemoveContact1Click();
    void Removedistributionlist1Click();
    // Bound to no menu item: each deletes the item in Outlook too, after a question.
    void Deletetask2Click();
    void MenuItem5Click();
};
