// The exports of Corvelle.dll: the class factories of the add-in object and of the pane control
// (one each, made at load, multi-instance, apartment-threaded), the unload test, and the
// registration.
#include <windows.h>
#include <ole2.h>

#include <string>

#include "base/Guard.h"
#include "win/com/AddIn.h"
#include "win/com/ComSupport.h"
#include "win/com/Generated.h"
#include "win/com/PaneControl.h"
#include "win/com/Registration.h"
#include "win/platform/WinServices.h"

namespace {

// Each CreateInstance makes a new object of the class. A reference to the factory keeps the
// library loaded, as LockServer does.
class TClassFactory final : public IClassFactory {
public:
    using Create = HRESULT (*)(REFIID iid, void** out);
    explicit TClassFactory(Create create) : create_(create) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
            *out = static_cast<IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
        win::TComObjectCount::Lock(true);
        return 2;
    }
    ULONG STDMETHODCALLTYPE Release() override {
        win::TComObjectCount::Lock(false);
        return 1;
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        return create_(iid, out);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        win::TComObjectCount::Lock(lock != FALSE);
        return S_OK;
    }

private:
    Create create_;
};

TClassFactory g_addInFactory(&win::CreateAddIn);
TClassFactory g_paneFactory(&win::CreatePaneControl);

std::wstring LibraryPath() { return win::Wide(win::ThisModuleFileName()); }

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (IsEqualCLSID(clsid, CLSID_Corvelle)) return g_addInFactory.QueryInterface(iid, out);
    if (IsEqualCLSID(clsid, CLSID_CorvellePane)) return g_paneFactory.QueryInterface(iid, out);
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() {
    return win::TComObjectCount::Live() == 0 && win::TComObjectCount::Locks() == 0 ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
    try {
        std::wstring path = LibraryPath();
        win::TWin32RegistryWriter registry;
        return win::RegisterServer(path, win::PlaceFor(win::ScopeFromIni(win::IniPathOf(path))), registry);
    } catch (...) {
        return win::HresultFromException(std::current_exception());
    }
}

STDAPI DllUnregisterServer() {
    try {
        std::wstring path = LibraryPath();
        win::TWin32RegistryWriter registry;
        return win::UnregisterServer(win::PlaceFor(win::ScopeFromIni(win::IniPathOf(path))), registry);
    } catch (...) {
        return win::HresultFromException(std::current_exception());
    }
}

}  // extern "C"
