#include "win/ui/OutlookDesktop.h"

#include <memory>
#include <vector>

#include "host/Globals.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "time/ufmChooseTask.h"
#include "time/ufmTimeMemo.h"
#include "time/ufmTimer.h"
#include "win/ui/FormWindowImpl.h"

namespace win::ui {

namespace {
std::vector<std::unique_ptr<TFormWindow>>& Made() {
    static std::vector<std::unique_ptr<TFormWindow>> made;
    return made;
}
}  // namespace

void InstallOutlookDesktop() {
    Guarded("desktop", [] {
        // Outlook's main window owns the dialogs.
        HWND outlook = GetActiveWindow();
        InstallHosts(outlook);
        SetBeforeRefresh([outlook] {
            auto& g = Globals();
            TForm* forms[] = {g.fmNewTask.get(), g.fmTimeMemo.get(), g.fmChooseTask.get(), g.fmTimer.get(),
                              g.fmOptions.get(), g.fmAddTask.get(), g.fmAbout.get()};
            for (TForm* f : forms)
                if (f && f->Visible() && !FindFormWindow(*f)) Made().push_back(CreateTopWindow(*f, outlook));
        });
    });
}

void UninstallOutlookDesktop() {
    SetBeforeRefresh(nullptr);
    Made().clear();
    UninstallHosts();
}

}  // namespace win::ui
