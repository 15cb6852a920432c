#include "win/com/Registration.h"

#include <objbase.h>

#include <cwctype>
#include <functional>

#include "win/com/Generated.h"

namespace win {
namespace {

constexpr const wchar_t* kProgId = L"Corvelle.Corvelle";
constexpr const wchar_t* kAddInName = L"Corvelle";
constexpr const wchar_t* kLibraryHelp = L"Corvelle Library";
// The control that the custom task panes host.
constexpr const wchar_t* kPaneProgId = L"Corvelle.Pane";
constexpr const wchar_t* kPaneName = L"Corvelle pane";
// The automation marshaller, which marshals a dual interface from its type library.
constexpr const wchar_t* kAutomationMarshaller = L"{00020424-0000-0000-C000-000000000046}";

std::wstring GuidText(const GUID& g) {
    wchar_t buf[40] = {};
    StringFromGUID2(g, buf, 40);
    return buf;
}

std::vector<BYTE> StringData(const std::wstring& s) {
    const BYTE* p = reinterpret_cast<const BYTE*>(s.c_str());
    return std::vector<BYTE>(p, p + (s.size() + 1) * sizeof(wchar_t));
}

std::vector<BYTE> DwordData(DWORD v) {
    const BYTE* p = reinterpret_cast<const BYTE*>(&v);
    return std::vector<BYTE>(p, p + sizeof v);
}

// The writes of one registration, undone in reverse order when one of them fails.
class TRegistrationWrite {
public:
    TRegistrationWrite(HKEY root, IRegistryWriter& registry) : root_(root), registry_(registry) {}

    void Key(const std::wstring& path) {
        if (failed()) return;
        // Each key of the path that this write makes is taken away again on failure.
        size_t start = 0;
        while (true) {
            size_t slash = path.find(L'\\', start);
            std::wstring part = path.substr(0, slash);
            bool created = false;
            status_ = registry_.CreateKey(root_, part, created);
            if (failed()) return;
            if (created) undo_.push_back([this, part] { registry_.DeleteTree(root_, part); });
            if (slash == std::wstring::npos) break;
            start = slash + 1;
        }
    }

    void Value(const std::wstring& path, const std::wstring& name, DWORD type, const std::vector<BYTE>& data) {
        Key(path);
        if (failed()) return;
        DWORD oldType = 0;
        std::vector<BYTE> oldData;
        if (registry_.QueryValue(root_, path, name, oldType, oldData) == ERROR_SUCCESS) {
            undo_.push_back([this, path, name, oldType, oldData] {
                registry_.SetValue(root_, path, name, oldType, oldData);
            });
        } else {
            undo_.push_back([this, path, name] { registry_.DeleteValue(root_, path, name); });
        }
        status_ = registry_.SetValue(root_, path, name, type, data);
    }
    void String(const std::wstring& path, const std::wstring& name, const std::wstring& value) {
        Value(path, name, REG_SZ, StringData(value));
    }
    void Dword(const std::wstring& path, const std::wstring& name, DWORD value) {
        Value(path, name, REG_DWORD, DwordData(value));
    }

    // The failure's code, after everything written has been undone; S_OK when all went in.
    HRESULT Finish() {
        if (!failed()) return S_OK;
        for (auto it = undo_.rbegin(); it != undo_.rend(); ++it) (*it)();
        return HRESULT_FROM_WIN32(static_cast<DWORD>(status_));
    }

private:
    bool failed() const { return status_ != ERROR_SUCCESS; }
    HKEY root_;
    IRegistryWriter& registry_;
    LSTATUS status_ = ERROR_SUCCESS;
    std::vector<std::function<void()>> undo_;
};

std::wstring DirectoryOf(const std::wstring& path) {
    size_t slash = path.find_last_of(L"\\/");
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1);
}

}  // namespace

std::wstring ClassIdText() { return GuidText(CLSID_Corvelle); }
std::wstring LibraryIdText() { return GuidText(LIBID_Corvelle); }
std::wstring InterfaceIdText() { return GuidText(IID_ICorvelle); }
std::wstring PaneClassIdText() { return GuidText(CLSID_CorvellePane); }

std::wstring IniPathOf(const std::wstring& libraryPath) {
    size_t slash = libraryPath.find_last_of(L"\\/");
    size_t dot = libraryPath.find_last_of(L'.');
    if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash)) return libraryPath + L".ini";
    return libraryPath.substr(0, dot) + L".ini";
}

TRegistrationScope ScopeFromIni(const std::wstring& iniPath) {
    wchar_t value[64] = {};
    GetPrivateProfileStringW(L"CONFIG", L"PRIVILEGES", L"", value, 64, iniPath.c_str());
    std::wstring v(value);
    for (wchar_t& c : v) c = static_cast<wchar_t>(std::towupper(c));
    return v == L"USER" ? TRegistrationScope::CurrentUser : TRegistrationScope::AllUsers;
}

TRegistrationPlace PlaceFor(TRegistrationScope scope) {
    HKEY root = scope == TRegistrationScope::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    return {root, L"Software\\Classes", L"Software\\Microsoft\\Office\\Outlook\\AddIns"};
}

HRESULT RegisterServer(const std::wstring& libraryPath, const TRegistrationPlace& place, IRegistryWriter& registry) {
    // The library must carry a type library that loads before anything is written.
    ITypeLib* lib = nullptr;
    HRESULT hr = LoadTypeLibEx(libraryPath.c_str(), REGKIND_NONE, &lib);
    if (FAILED(hr)) return hr;
    lib->Release();

    const std::wstring clsid = place.classes + L"\\CLSID\\" + ClassIdText();
    const std::wstring progId = place.classes + L"\\" + kProgId;
    const std::wstring typeLib = place.classes + L"\\TypeLib\\" + LibraryIdText() + L"\\1.0";
    const std::wstring iface = place.classes + L"\\Interface\\" + InterfaceIdText();
    const std::wstring addIn = place.addIns + L"\\" + kProgId;
    const std::wstring paneClsid = place.classes + L"\\CLSID\\" + PaneClassIdText();
    const std::wstring paneProgId = place.classes + L"\\" + kPaneProgId;

    TRegistrationWrite w(place.root, registry);
    w.String(clsid, L"", kAddInName);
    w.String(clsid + L"\\InprocServer32", L"", libraryPath);
    w.String(clsid + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    w.String(clsid + L"\\ProgID", L"", kProgId);
    w.String(clsid + L"\\TypeLib", L"", LibraryIdText());
    w.String(clsid + L"\\Version", L"", L"1.0");
    w.String(progId, L"", kAddInName);
    w.String(progId + L"\\CLSID", L"", ClassIdText());
    w.String(typeLib, L"", kLibraryHelp);
    w.String(typeLib + L"\\0\\win64", L"", libraryPath);
    w.String(typeLib + L"\\FLAGS", L"", L"0");
    w.String(typeLib + L"\\HELPDIR", L"", DirectoryOf(libraryPath));
    w.String(iface, L"", L"ICorvelle");
    w.String(iface + L"\\ProxyStubClsid32", L"", kAutomationMarshaller);
    w.String(iface + L"\\TypeLib", L"", LibraryIdText());
    w.String(iface + L"\\TypeLib", L"Version", L"1.0");
    w.String(paneClsid, L"", kPaneName);
    w.String(paneClsid + L"\\InprocServer32", L"", libraryPath);
    w.String(paneClsid + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    w.String(paneClsid + L"\\ProgID", L"", kPaneProgId);
    w.String(paneClsid + L"\\TypeLib", L"", LibraryIdText());
    w.Key(paneClsid + L"\\Control");
    w.String(paneProgId, L"", kPaneName);
    w.String(paneProgId + L"\\CLSID", L"", PaneClassIdText());
    w.String(addIn, L"FriendlyName", kAddInName);
    w.String(addIn, L"Description", L"");
    w.Dword(addIn, L"LoadBehavior", 3);
    w.Dword(addIn, L"CommandLineSafe", 0);
    return w.Finish();
}

HRESULT UnregisterServer(const TRegistrationPlace& place, IRegistryWriter& registry) {
    const std::wstring keys[] = {
        place.classes + L"\\CLSID\\" + ClassIdText(),
        place.classes + L"\\" + kProgId,
        place.classes + L"\\TypeLib\\" + LibraryIdText(),
        place.classes + L"\\Interface\\" + InterfaceIdText(),
        place.addIns + L"\\" + kProgId,
        place.classes + L"\\CLSID\\" + PaneClassIdText(),
        place.classes + L"\\" + kPaneProgId,
    };
    // Everything goes that can; the first failure is the answer.
    HRESULT result = S_OK;
    for (const std::wstring& k : keys) {
        LSTATUS st = registry.DeleteTree(place.root, k);
        if (st != ERROR_SUCCESS && st != ERROR_FILE_NOT_FOUND && SUCCEEDED(result))
            result = HRESULT_FROM_WIN32(static_cast<DWORD>(st));
    }
    return result;
}

bool RegisteredForAllUsers() {
    HKEY key = nullptr;
    std::wstring path = PlaceFor(TRegistrationScope::CurrentUser).addIns + L"\\" + kProgId;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS) {
        RegCloseKey(key);
        return false;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------

LSTATUS TWin32RegistryWriter::CreateKey(HKEY root, const std::wstring& path, bool& created) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    LSTATUS st = RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_WRITE | KEY_WOW64_64KEY, nullptr, &key,
                                 &disposition);
    if (st == ERROR_SUCCESS) RegCloseKey(key);
    created = disposition == REG_CREATED_NEW_KEY;
    return st;
}

LSTATUS TWin32RegistryWriter::QueryValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD& type,
                                         std::vector<BYTE>& data) {
    DWORD size = 0;
    LSTATUS st = RegGetValueW(root, path.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &type, nullptr, &size);
    if (st != ERROR_SUCCESS) return st;
    data.resize(size);
    return RegGetValueW(root, path.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &type,
                        data.empty() ? nullptr : data.data(), &size);
}

LSTATUS TWin32RegistryWriter::SetValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD type,
                                       const std::vector<BYTE>& data) {
    HKEY key = nullptr;
    LSTATUS st = RegOpenKeyExW(root, path.c_str(), 0, KEY_SET_VALUE | KEY_WOW64_64KEY, &key);
    if (st != ERROR_SUCCESS) return st;
    st = RegSetValueExW(key, name.empty() ? nullptr : name.c_str(), 0, type, data.empty() ? nullptr : data.data(),
                        static_cast<DWORD>(data.size()));
    RegCloseKey(key);
    return st;
}

LSTATUS TWin32RegistryWriter::DeleteValue(HKEY root, const std::wstring& path, const std::wstring& name) {
    HKEY key = nullptr;
    LSTATUS st = RegOpenKeyExW(root, path.c_str(), 0, KEY_SET_VALUE | KEY_WOW64_64KEY, &key);
    if (st != ERROR_SUCCESS) return st;
    st = RegDeleteValueW(key, name.empty() ? nullptr : name.c_str());
    RegCloseKey(key);
    return st;
}

LSTATUS TWin32RegistryWriter::DeleteTree(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    LSTATUS st = RegOpenKeyExW(root, path.c_str(), 0, KEY_ALL_ACCESS | KEY_WOW64_64KEY, &key);
    if (st != ERROR_SUCCESS) return st;
    st = RegDeleteTreeW(key, nullptr);
    RegCloseKey(key);
    if (st != ERROR_SUCCESS) return st;
    return RegDeleteKeyExW(root, path.c_str(), KEY_WOW64_64KEY, 0);
}

}  // namespace win
