#pragma once
// TCorvelle: the add-in object that Outlook makes through the class factory. It answers
// IDTExtensibility2 (the connection calls, which it turns into the module's four steps in their
// order, also when Outlook loads the add-in after its own start), IRibbonExtensibility (the
// tab's XML) and, through its IDispatch, the ribbon's callbacks; it connects to Outlook's
// ApplicationEvents_11 for Quit. TAddInModule is made at OnConnection with Outlook's Application
// bound through IDispatch and the machine's services (or, under corvelle-winhost, the host's),
// and lives until the object goes. No exception leaves a COM call.
#include <memory>

#include "win/com/ComSupport.h"
#include "win/com/Generated.h"

class TAddInModule;

namespace win {

// Makes a new add-in object and answers its interface iid.
HRESULT CreateAddIn(REFIID iid, void** out);

}  // namespace win
