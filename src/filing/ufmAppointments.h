#pragma once
// TfmAppointments: the pane "Appointments". It lists the appointments filed against the focused
// task with their times as filed, opens and removes them, and saves the appointments table when
// the explorer closes.
#include "framework/OlForm.h"
#include "toolkit/Controls.h"
#include "toolkit/DBGrid.h"

class TfmAppointments : public TadxOlForm {
public:
    TfmAppointments();

    TcxGrid cxGrid6{this, "cxGrid6"};
    TcxGridDBTableView cxGrid6DBTableView1{this, "cxGrid6DBTableView1", &cxGrid6};
    TcxGridDBColumn& clGlyph;
    TcxGridDBColumn& clSubject;
    TcxGridDBColumn& clStart;
    TcxGridDBColumn& clEnd;
    TPopupMenu PopupMenu1{this, "PopupMenu1"};

    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
    void cxGrid6DBTableView1DblClick();
    void DisplayContactClick();
    void Removeappointment1Click();
    // Bound to no menu item: deletes the appointment in Outlook too, after a question.
    void Deletetask2Click();
};
