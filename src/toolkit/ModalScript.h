#pragma once
// TModalScript: a modal host that plays what the user does in each modal form, in order. Tests
// and scripted hosts queue one entry per modal form they expect; each ShowModal takes the next
// entry and runs it on the shown form. An entry that leaves the form open, or a ShowModal with
// no entry left, ends the loop: ShowModal then closes the form as cancelled.
//
//   TModalScript script;
//   script.Then("fmOptions", [](TForm& f) { f.UserEdit("SpinEdit1", "30"); f.UserClick("BitBtn1"); });
//   TModalHostScope scope(script);
//   fmList.UserClick("Completedtasks1");
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "toolkit/Forms.h"

class TModalScript : public IModalHost {
public:
    // Queues the actions for the next modal form. With a form name, a different form shown in
    // its place is an EInvalidOperation (and that form is closed as cancelled).
    TModalScript& Then(std::string formName, std::function<void(TForm&)> actions);
    TModalScript& Then(std::function<void(TForm&)> actions) { return Then(std::string(), std::move(actions)); }

    void RunModal(TForm& form) override;

    // The names of the modal forms shown, in order.
    const std::vector<std::string>& Shown() const { return shown_; }
    // Entries not used yet.
    int Pending() const { return static_cast<int>(queue_.size()); }

private:
    struct Entry {
        std::string formName;
        std::function<void(TForm&)> actions;
    };
    std::deque<Entry> queue_;
    std::vector<std::string> shown_;
};
