#pragma once
// TfmEmails: the pane "Emails" docked in Outlook's explorer by the forms manager. Its content joins with
// its own part of the system; here it stores itself at activation and, when the explorer
// closes, posts what its table holds in edit and saves the table.
#include "framework/OlForm.h"

class TfmEmails : public TadxOlForm {
public:
    TfmEmails();

    void adxOlFormActivate();
    void adxOlFormClose(TCloseAction& Action);
};
