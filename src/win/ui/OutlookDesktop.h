#pragma once
// Corvelle's windows inside a real Outlook: the desktop's hosts installed, and a top-level window
// for each of the add-in's dialogs and the timer as soon as code shows it. Under
// corvelle-winhost's script bridge the scripted hosts stay: this is not installed there.
namespace win::ui {

void InstallOutlookDesktop();
void UninstallOutlookDesktop();

}  // namespace win::ui
