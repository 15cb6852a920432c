#pragma once
// TadxCOMAddInModule: the framework's side of an Office add-in. The host (Outlook through COM, the
// desktop host, a test) creates the module with what it knows of itself and then makes the four
// lifecycle calls through OnConnection, OnStartupComplete, OnBeginShutdown and OnDisconnection.
// Each reaches the module's virtual of the same step; an exception that escapes one goes to the
// module's OnError handler.
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "base/Exceptions.h"
#include "platform/Outlook.h"
#include "platform/Services.h"

enum class TadxHostApp { ohaNone, ohaOutlook, ohaExcel, ohaWord };

// What the host tells the module about itself.
struct THostInfo {
    TadxHostApp HostType = TadxHostApp::ohaOutlook;
    // The host's application object; empty when the host gives none.
    std::shared_ptr<outlook::_Application> Application;
    // 12 for Outlook 2007, 14 for 2010, 15 for 2013, 16 for 2016 and later.
    int MajorVersion = 16;
    // The add-in's registration: for all users of the machine, or for the current user only.
    bool RegisteredForAllUsers = false;
    platform::Services Services;
};

class TadxCOMAddInModule {
public:
    explicit TadxCOMAddInModule(THostInfo host);
    virtual ~TadxCOMAddInModule() = default;
    TadxCOMAddInModule(const TadxCOMAddInModule&) = delete;
    TadxCOMAddInModule& operator=(const TadxCOMAddInModule&) = delete;

    // The host's four calls.
    void OnConnection();
    void OnStartupComplete();
    void OnBeginShutdown();
    void OnDisconnection();

    // The module's four steps.
    virtual void AddInInitialize() {}
    virtual void AddInStartupComplete() {}
    virtual void AddInBeginShutdown() {}
    virtual void AddInFinalize() {}

    // Error handler for what escapes a lifecycle call or a framework event. A handler that
    // leaves Handled false lets the framework report the error itself in a message box.
    std::function<void(const ExceptionInfo& E, bool& Handled)> OnError;
    void HandleError(std::exception_ptr e) noexcept;

    // The add-in's name, as registered.
    std::string AddInName;

    // Facts about the host.
    TadxHostApp HostType() const { return host_.HostType; }
    const std::shared_ptr<outlook::_Application>& HostApplication() const { return host_.Application; }
    int HostMajorVersion() const { return host_.MajorVersion; }
    bool RegisteredForAllUsers() const { return host_.RegisteredForAllUsers; }

    // The host's services. Each accessor raises when the host gave no such service.
    const platform::Services& Services() const { return host_.Services; }
    platform::IDialogs& Dialogs() const;
    platform::IRegistry& Registry() const;
    platform::IScreen& Screen() const;
    platform::IModuleInfo& ModuleInfo() const;
    platform::ITraceClient* TraceClient() const { return host_.Services.Trace.get(); }

    // The application's help file and the help command.
    const std::string& HelpFile() const { return helpFile_; }
    void SetHelpFile(std::string value) { helpFile_ = std::move(value); }
    void HelpContext(int context);

private:
    template <class Step>
    void Deliver(Step step) noexcept;

    THostInfo host_;
    std::string helpFile_;
};
