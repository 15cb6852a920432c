#pragma once
// TadxOlForm: a form that the forms manager docks in a region of Outlook's explorer window. The
// manager, not the module, creates it (its create event), shows it, activates it when it gets the
// focus and closes it when the explorer closes. A pane binds the four events under the names
// adxOlFormCreate, adxOlFormShow, adxOlFormActivate and adxOlFormClose.
#include <string>

#include "toolkit/Forms.h"

class TadxOlForm : public TForm {
public:
    TadxOlForm(std::string name, std::string caption, int width, int height)
        : TForm(std::move(name), std::move(caption), width, height) {}
};
