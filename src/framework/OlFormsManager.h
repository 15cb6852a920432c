#pragma once
// TadxOlFormsManager: docks the add-in's forms in regions of Outlook's explorer window. The pane
// definitions join it with the panes; until then it holds none. Its errors go to OnError; an
// error left unhandled goes on to the module's error handler.
#include <exception>
#include <functional>

#include "base/Exceptions.h"

class TadxCOMAddInModule;

class TadxOlFormsManager {
public:
    explicit TadxOlFormsManager(TadxCOMAddInModule& owner) : owner_(owner) {}

    std::function<void(const ExceptionInfo& E, bool& Handled)> OnError;

    // Pane definitions held.
    int Count() const { return 0; }

    // The manager's side: reports an error that arose while it worked.
    void RaiseError(std::exception_ptr e) noexcept;

private:
    TadxCOMAddInModule& owner_;
};
