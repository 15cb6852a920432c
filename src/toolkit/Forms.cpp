#include "toolkit/Forms.h"

TForm::TForm(std::string name, std::string caption, int width, int height)
    : name_(std::move(name)), caption_(std::move(caption)), width_(width), height_(height) {}

void TForm::SetVisible(bool value) {
    if (value)
        Show();
    else
        Hide();
}

void TForm::Show() {
    if (visible_) return;
    visible_ = true;
    DoShow();
}

void TForm::Hide() {
    if (!visible_) return;
    visible_ = false;
    DoHide();
}
