#include "framework/AddInModule.h"

#include "base/Guard.h"

TadxCOMAddInModule::TadxCOMAddInModule(THostInfo host) : host_(std::move(host)) {}

template <class Step>
void TadxCOMAddInModule::Deliver(Step step) noexcept {
    try {
        step();
    } catch (...) {
        HandleError(std::current_exception());
    }
}

void TadxCOMAddInModule::OnConnection() {
    Deliver([this] { AddInInitialize(); });
}

void TadxCOMAddInModule::OnStartupComplete() {
    Deliver([this] { AddInStartupComplete(); });
}

void TadxCOMAddInModule::OnBeginShutdown() {
    Deliver([this] { AddInBeginShutdown(); });
}

void TadxCOMAddInModule::OnDisconnection() {
    Deliver([this] { AddInFinalize(); });
}

void TadxCOMAddInModule::HandleError(std::exception_ptr e) noexcept {
    ExceptionInfo info = DescribeException(e);
    bool handled = false;
    if (OnError) Swallow([&] { OnError(info, handled); });
    if (!handled) Swallow([&] { Dialogs().ShowMessage(info.message); });
}

platform::IDialogs& TadxCOMAddInModule::Dialogs() const {
    if (!host_.Services.Dialogs) throw Exception("The host provides no message boxes");
    return *host_.Services.Dialogs;
}

platform::IRegistry& TadxCOMAddInModule::Registry() const {
    if (!host_.Services.Registry) throw Exception("The host provides no registry");
    return *host_.Services.Registry;
}

platform::IScreen& TadxCOMAddInModule::Screen() const {
    if (!host_.Services.Screen) throw Exception("The host provides no screen");
    return *host_.Services.Screen;
}

platform::IModuleInfo& TadxCOMAddInModule::ModuleInfo() const {
    if (!host_.Services.Module) throw Exception("The host provides no module file name");
    return *host_.Services.Module;
}

void TadxCOMAddInModule::HelpContext(int context) {
    if (!host_.Services.Help) throw Exception("The host provides no help viewer");
    host_.Services.Help->ShowContext(helpFile_, context);
}
