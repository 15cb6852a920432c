#include "framework/OutlookAppEvents.h"

#include "framework/AddInModule.h"

void TadxOutlookAppEvents::DoQuit() noexcept {
    try {
        if (OnQuit) OnQuit();
    } catch (...) {
        owner_.HandleError(std::current_exception());
    }
}
