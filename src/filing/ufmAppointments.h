#pragma once
// TfmAppointments: the pane "Appointments" docked in Outlook's explorer by the forms manager. Its content joins with
// its own part of the system; here it stores itself at activation and, when the explorer
// closes, posts what its table holds in edit and saves the table.
#include "framework/OlForm.h"

class TfmAppointments : public TadxOlForm {
public:
    TfmAppointments();

    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
};
