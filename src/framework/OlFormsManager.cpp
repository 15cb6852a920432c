#include "framework/OlFormsManager.h"

#include "base/Guard.h"
#include "framework/AddInModule.h"

void TadxOlFormsManager::RaiseError(std::exception_ptr e) noexcept {
    bool handled = false;
    if (OnError) {
        ExceptionInfo info = DescribeException(e);
        Swallow([&] { OnError(info, handled); });
    }
    if (!handled) owner_.HandleError(e);
}
