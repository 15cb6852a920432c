#pragma once
// TWinScriptHost: corvelle-sim's script host with the add-in where Outlook has it, in Corvelle.dll
// behind COM. It plays Outlook as an automation server (the simulated Outlook as Outlook's
// automation objects, TAutoOutlook), makes the add-in by its ProgID as Outlook does, and drives it
// through the interfaces Outlook uses: IDTExtensibility2 for start, shutdown and the rest,
// IRibbonExtensibility and the ribbon's callbacks by name for ribbon buttons, ApplicationEvents_11
// for Quit, the connection points of items and folders for their events. The commands that act
// on the add-in's forms, tables and variables run inside the add-in through the script bridge,
// with the same code as in corvelle-sim; what the add-in shows comes back to this host's
// transcript. Everything else runs here as in corvelle-sim, so the transcripts are the same.
//
// With windows (EnableWindows, before the first start) it also draws Outlook's explorer window
// (TExplorerWindow), and hands the add-in its custom task pane service as
// Office does (CTPFactoryAvailable, after OnConnection): the add-in's panes then show in that
// window. The explorer commands then reach the add-in as the explorer's events: "explorer" and an
// "outlook select" of another folder as FolderSwitch, "close explorer" as Close. "screenshot FILE
// [WINDOW]" saves the screen, the explorer ("explorer") or the top-level window of that caption
// as a PNG file. "input" prints how the add-in's forms took the user's actions so far: "INPUT
// windows=N headless=M", N delivered to the windows as input, M made on the headless controls.
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "sim/ScriptHost.h"
#include "win/com/ComSupport.h"
#include "win/com/Generated.h"

namespace win {

class TAutoExcel;
class TAutoOutlook;
class TExplorerWindow;

class TWinScriptHost : public sim::TScriptHost {
public:
    // dir: the add-in's folder as a Windows path; the add-in's file reads as dir\Corvelle.dll.
    TWinScriptHost(std::string dir, std::ostream& out);
    ~TWinScriptHost() override;

    // Outlook goes: the add-in is let go, and Outlook lets go of every event sink it holds.
    // Answers what is still alive: empty when Corvelle.dll may unload (DllCanUnloadNow) and no
    // automation object of this host is referenced any more.
    std::string Unload();

    // Draws the explorer window (now) and offers the custom task pane service; before the first
    // start.
    void EnableWindows();
    // The explorer window; null without windows or before the first start.
    TExplorerWindow* Explorer() const { return explorer_.get(); }

    // What the add-in gave for the explorer's ribbon at the last start.
    const std::string& RibbonXml() const { return ribbonXml_; }
    TAutoOutlook& Automation() { return *automation_; }
    // The Application that the add-in is connected with.
    IDispatch* Application() const { return application_.Get(); }
    // The add-in object; empty before the first start.
    IUnknown* AddIn() const { return addIn_.Get(); }

private:
    using Words = std::vector<std::string>;
    void Execute(const Words& words) override;
    void TickTimers() override;

    void Start(const Words& a);
    void Shutdown(const Words& a);
    void Quit(const Words& a);
    void Ribbon(const Words& a);
    void ClickRibbonButton(const std::string& id);
    void Forward(const Words& words);
    void ReleaseAddIn();
    void LoadRibbon();
    void CallAddIn(const std::string& callback, IDispatch* argument);
    void RequireAddIn(bool running);
    void PushClock();
    bool WindowCommand(const std::string& command, const Words& args);
    void Screenshot(const Words& a);

    // The bridge's calls from the add-in.
    class TBridgeHost;
    void RunModalRemote(const std::string& formName);
    bool FormVisible(const std::string& formName);

    struct TRibbonButton {
        std::string id, label, onAction;
        bool shown = true;
    };

    std::unique_ptr<TBridgeHost> bridge_;
    std::unique_ptr<TAutoOutlook> automation_;
    std::unique_ptr<TAutoExcel> excel_;
    std::unique_ptr<TExplorerWindow> explorer_;
    bool windows_ = false;
    TComPtr<IDispatch> application_;
    TComPtr<IDispatch> comAddIn_;
    TComPtr<IDispatch> ribbonUI_;
    TComPtr<IUnknown> addIn_;
    TComPtr<IDTExtensibility2> extensibility_;
    TComPtr<ICorvelleScriptAddIn> script_;
    bool addInRunning_ = false;
    std::string ribbonXml_;
    std::string ribbonLoaded_;
    std::vector<TRibbonButton> buttons_;
};

}  // namespace win
