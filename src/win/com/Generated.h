#pragma once
// The declarations that widl makes from the IDL files of this folder: the add-in's own type
// library (ICorvelle, the coclass Corvelle), Office's add-in and ribbon interfaces, and the bridge
// to corvelle-winhost. Their GUIDs are defined once, in Guids.cpp.
#include <windows.h>
#include <ole2.h>

#include "Corvelle_h.h"
#include "OfficeAddIn_h.h"
#include "ScriptBridge_h.h"
