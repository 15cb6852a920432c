#pragma once
// The add-in's side of the bridge to corvelle-winhost (ScriptBridge.idl). Made when the
// Application that connects the add-in is the winhost's: the module then gets its message boxes,
// help, screen and module file name from the host, its modal forms run the host's modal loop, and
// the host runs the script's commands on the module's forms, tables and variables here, with the
// same command code as corvelle-sim, what they print going back to the host's transcript. When
// the host draws the explorer (the panes have windows), the commands' clicks, typing and the like
// go to the forms' windows as input, and the dialogs shown get windows of their own.
#include <exception>
#include <functional>
#include <memory>
#include <ostream>
#include <vector>

#include "platform/Services.h"
#include "toolkit/Forms.h"
#include "toolkit/Menus.h"
#include "win/com/ComSupport.h"
#include "win/com/Generated.h"
#include "win/ui/Input.h"
#include "win/ui/ScriptWindows.h"

class TAddInModule;
namespace sim {
class TScriptHost;
}

namespace win {

class TScriptBridge : private IModalHost {
public:
    explicit TScriptBridge(TComPtr<ICorvelleScriptHost> host);
    ~TScriptBridge() override;
    TScriptBridge(const TScriptBridge&) = delete;
    TScriptBridge& operator=(const TScriptBridge&) = delete;

    // The services a module gets under the host: dialogs, help, screen and module file name
    // played by the host; the registry and the trace client are the machine's.
    platform::Services Services();
    // The module the commands run on, and whether it is running (started and not shut down).
    void Attach(TAddInModule* module, std::function<bool()> running);

    // ICorvelleScriptAddIn's calls.
    HRESULT Run(BSTR words, int* status, BSTR* message);
    HRESULT HandleEscaped();
    HRESULT FormVisible(BSTR formName, BOOL* visible);

    // Sends what the commands printed so far to the host.
    void Flush();
    // Lets go of the dialogs' windows; before the module frees its forms.
    void ReleaseWindows() { windows_.Release(); }
    ICorvelleScriptHost* Host() const { return host_.Get(); }

private:
    void RunModal(TForm& form) override;
    sim::TScriptHost& Script();
    // The dialogs shown get windows, those hidden lose theirs (when the host draws the explorer).
    void SyncWindows();

    TComPtr<ICorvelleScriptHost> host_;
    IModalHost* previousModalHost_ = nullptr;
    IPopupHost* previousPopupHost_ = nullptr;
    std::vector<TForm*> modal_;
    std::unique_ptr<std::streambuf> buffer_;
    std::unique_ptr<std::ostream> out_;
    // The user's actions of the commands go to the forms' windows where they have some.
    ui::TWindowInput input_;
    ui::TScriptWindows windows_;
    std::unique_ptr<sim::TScriptHost> script_;
    TAddInModule* module_ = nullptr;
    std::function<bool()> running_;
    std::exception_ptr escaped_;
};

}  // namespace win
