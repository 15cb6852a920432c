#pragma once
// TadxOutlookAppEvents: Outlook's application events as the module sees them. The host fires
// them; an exception out of a handler goes to the module's error handler.
#include <functional>

class TadxCOMAddInModule;

class TadxOutlookAppEvents {
public:
    explicit TadxOutlookAppEvents(TadxCOMAddInModule& owner) : owner_(owner) {}

    // Outlook is quitting.
    std::function<void()> OnQuit;

    // The host's side: raises the event.
    void DoQuit() noexcept;

private:
    TadxCOMAddInModule& owner_;
};
