#include "toolkit/ModalScript.h"

TModalScript& TModalScript::Then(std::string formName, std::function<void(TForm&)> actions) {
    queue_.push_back(Entry{std::move(formName), std::move(actions)});
    return *this;
}

void TModalScript::RunModal(TForm& form) {
    shown_.push_back(form.Name());
    if (queue_.empty()) return;
    Entry entry = std::move(queue_.front());
    queue_.pop_front();  // before running: the actions may open the next modal form
    if (!entry.formName.empty() && !SameName(entry.formName, form.Name()))
        throw EInvalidOperation("The modal form " + form.Name() + " was shown where " + entry.formName +
                                " was expected");
    if (entry.actions) entry.actions(form);
}
