#pragma once
// The add-in's registration: what DllRegisterServer leaves in the registry and DllUnregisterServer
// takes away. For all users it writes under the local machine, for the current user under the
// current user (with the classes under Software\Classes), as the ".ini" beside the library asks:
//
//   classes\CLSID\{class}                 "Corvelle", with InprocServer32 (the library, threading
//                                          model Apartment), ProgID, TypeLib and Version
//   classes\Corvelle.Corvelle             the ProgID, with its CLSID
//   classes\TypeLib\{library}\1.0         "Corvelle Library": 0\win64, FLAGS, HELPDIR
//   classes\Interface\{ICorvelle}         its type library and the automation marshaller
//   classes\CLSID\{pane}                  "Corvelle pane", the control of the custom task panes:
//                                          InprocServer32 (Apartment), ProgID, TypeLib, Control
//   classes\Corvelle.Pane                 its ProgID, with its CLSID
//   Software\Microsoft\Office\Outlook\AddIns\Corvelle.Corvelle
//                                          FriendlyName "Corvelle", Description "",
//                                          LoadBehavior 3, CommandLineSafe 0
//
// A registration that fails part-way undoes what it wrote, so nothing is left half-written, and
// answers the failure's code.
#include <windows.h>

#include <string>
#include <vector>

namespace win {

enum class TRegistrationScope { CurrentUser, AllUsers };

// The scope the ".ini" file asks for: the current user when its section CONFIG has the key
// PRIVILEGES whose value in upper case is USER; all users otherwise, also when the file is
// missing or unreadable.
TRegistrationScope ScopeFromIni(const std::wstring& iniPath);
// The ".ini" of a library: the same name with that extension, beside it.
std::wstring IniPathOf(const std::wstring& libraryPath);

// The registry operations that a registration makes, so that a test can make one fail.
class IRegistryWriter {
public:
    virtual ~IRegistryWriter() = default;
    // Opens or makes the key; created tells which.
    virtual LSTATUS CreateKey(HKEY root, const std::wstring& path, bool& created) = 0;
    // A value's type and data; ERROR_FILE_NOT_FOUND when key or value is absent.
    virtual LSTATUS QueryValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD& type,
                               std::vector<BYTE>& data) = 0;
    virtual LSTATUS SetValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD type,
                             const std::vector<BYTE>& data) = 0;
    virtual LSTATUS DeleteValue(HKEY root, const std::wstring& path, const std::wstring& name) = 0;
    // The key with everything below it; ERROR_FILE_NOT_FOUND when it is absent.
    virtual LSTATUS DeleteTree(HKEY root, const std::wstring& path) = 0;
};

// The Windows registry itself, in its 64-bit view.
class TWin32RegistryWriter : public IRegistryWriter {
public:
    LSTATUS CreateKey(HKEY root, const std::wstring& path, bool& created) override;
    LSTATUS QueryValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD& type,
                       std::vector<BYTE>& data) override;
    LSTATUS SetValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD type,
                     const std::vector<BYTE>& data) override;
    LSTATUS DeleteValue(HKEY root, const std::wstring& path, const std::wstring& name) override;
    LSTATUS DeleteTree(HKEY root, const std::wstring& path) override;
};

// Where a registration writes: the root (HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE), the classes'
// key and the Outlook add-ins' key below it. Tests point it elsewhere.
struct TRegistrationPlace {
    HKEY root;
    std::wstring classes;
    std::wstring addIns;
};
TRegistrationPlace PlaceFor(TRegistrationScope scope);

HRESULT RegisterServer(const std::wstring& libraryPath, const TRegistrationPlace& place, IRegistryWriter& registry);
HRESULT UnregisterServer(const TRegistrationPlace& place, IRegistryWriter& registry);

// Whether the add-in is registered for the current user (its add-in key there), else for all.
bool RegisteredForAllUsers();

// The text forms of the add-in's GUIDs.
std::wstring ClassIdText();
std::wstring LibraryIdText();
std::wstring InterfaceIdText();
std::wstring PaneClassIdText();

}  // namespace win
