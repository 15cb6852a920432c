// The GUIDs that widl writes for the IDL files of this folder, defined once for the program.
#include "win/com/Generated.h"

#include "Corvelle_i.c"
#include "OfficeAddIn_i.c"
#include "ScriptBridge_i.c"
