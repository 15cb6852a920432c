#include "win/winhost/AutoObject.h"

#include <olectl.h>

#include <cctype>

#include "base/Exceptions.h"
#include "base/Guard.h"

namespace win {

// {CA02FCF0-65F7-4C77-B4C3-2C4BCFCAD6F8}
const IID IID_TAutoObject = {0xca02fcf0, 0x65f7, 0x4c77, {0xb4, 0xc3, 0x2c, 0x4b, 0xcf, 0xca, 0xd6, 0xf8}};

namespace {

bool SameName(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

class TAutoConnectionPoint final : public IConnectionPoint, private TComRefCount {
public:
    TAutoConnectionPoint(IConnectionPointContainer* container, const IID& iid,
                         std::function<DWORD(TComPtr<IDispatch>)> advise, std::function<bool(DWORD)> unadvise)
        : container_(container), iid_(iid), advise_(std::move(advise)), unadvise_(std::move(unadvise)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IConnectionPoint)) {
            *out = static_cast<IConnectionPoint*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
        if (!iid) return E_POINTER;
        *iid = iid_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override {
        if (!out) return E_POINTER;
        *out = container_.Get();
        if (*out) (*out)->AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override {
        if (!sink || !cookie) return E_POINTER;
        *cookie = 0;
        TComPtr<IDispatch> d;
        if (FAILED(sink->QueryInterface(iid_, reinterpret_cast<void**>(d.Out()))) &&
            FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(d.Out()))))
            return CONNECT_E_CANNOTCONNECT;
        try {
            *cookie = advise_(std::move(d));
            return S_OK;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IConnectionPoint);
        }
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
        try {
            return unadvise_(cookie) ? S_OK : CONNECT_E_NOCONNECTION;
        } catch (...) {
            return ReportException(std::current_exception(), IID_IConnectionPoint);
        }
    }
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override {
        if (out) *out = nullptr;
        return E_NOTIMPL;
    }

private:
    TComPtr<IConnectionPointContainer> container_;
    IID iid_;
    std::function<DWORD(TComPtr<IDispatch>)> advise_;
    std::function<bool(DWORD)> unadvise_;
};

}  // namespace

// ---------------------------------------------------------------------------------------------
// Arguments and results

TAutoArgs::TAutoArgs(const DISPPARAMS* params) {
    if (!params) return;
    // Positional arguments come last to first; a property's new value is not among them.
    UINT named = 0;
    for (UINT i = 0; i < params->cNamedArgs; ++i)
        if (params->rgdispidNamedArgs[i] == DISPID_PROPERTYPUT) named = 1;
    for (UINT i = params->cArgs; i-- > named;) args_.push_back(&params->rgvarg[i]);
}

bool TAutoArgs::Has(size_t i) const {
    if (i >= args_.size()) return false;
    const VARIANT& v = *args_[i];
    return !(V_VT(&v) == VT_ERROR && V_ERROR(&v) == DISP_E_PARAMNOTFOUND) && V_VT(&v) != VT_EMPTY;
}

const VARIANT& TAutoArgs::At(size_t i) const {
    if (i >= args_.size()) throw EOleException("Invalid number of parameters.");
    return *args_[i];
}

Variant TAutoArgs::Value(size_t i) const { return FromVariant(At(i)); }
std::string TAutoArgs::Text(size_t i) const { return VariantText(At(i)); }
int TAutoArgs::Int(size_t i) const { return Value(i).AsInteger(); }
bool TAutoArgs::Bool(size_t i) const { return Value(i).AsBoolean(); }
TDateTime TAutoArgs::Date(size_t i) const { return Value(i).AsDateTime(); }
TComPtr<IDispatch> TAutoArgs::Object(size_t i) const { return VariantObject(At(i)); }

bool TAutoArgs::IsText(size_t i) const {
    const VARIANT& v = At(i);
    VARTYPE vt = V_VT(&v);
    if (vt == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(&v)) vt = V_VT(V_VARIANTREF(&v));
    return (vt & ~VT_BYREF) == VT_BSTR;
}

void SetResult(VARIANT* result, const Variant& value) {
    if (result) ToVariant(value, result);
}

void SetResult(VARIANT* result, TComPtr<IDispatch> object) {
    if (!result) return;
    VariantInit(result);
    V_VT(result) = VT_DISPATCH;
    V_DISPATCH(result) = object.Detach();
}

void SetDateResult(VARIANT* result, TDateTime value) { SetResult(result, Variant::FromDate(value)); }

TComPtr<IConnectionPoint> NewConnectionPoint(IConnectionPointContainer* container, const IID& iid,
                                             std::function<DWORD(TComPtr<IDispatch>)> advise,
                                             std::function<bool(DWORD)> unadvise) {
    return TComPtr<IConnectionPoint>::Attach(
        new TAutoConnectionPoint(container, iid, std::move(advise), std::move(unadvise)));
}

// ---------------------------------------------------------------------------------------------
// Sinks

DWORD TAutoSinks::Advise(TComPtr<IDispatch> sink) {
    DWORD cookie = next_++;
    sinks_.emplace_back(cookie, std::move(sink));
    return cookie;
}

bool TAutoSinks::Unadvise(DWORD cookie) {
    for (auto it = sinks_.begin(); it != sinks_.end(); ++it)
        if (it->first == cookie) {
            sinks_.erase(it);
            return true;
        }
    return false;
}

void TAutoSinks::Fire(DISPID id, const std::vector<VARIANT>& args) {
    auto advised = sinks_;
    std::vector<VARIANT> reversed(args.rbegin(), args.rend());
    for (auto& [cookie, sink] : advised) {
        bool still = false;
        for (auto& s : sinks_) still = still || s.first == cookie;
        if (!still) continue;
        DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
        TVariant result;
        EXCEPINFO info{};
        sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.Get(), &info, nullptr);
        SysFreeString(info.bstrSource);
        SysFreeString(info.bstrDescription);
        SysFreeString(info.bstrHelpFile);
    }
}

// ---------------------------------------------------------------------------------------------
// The object

TAutoObject* TAutoObject::Of(IUnknown* unknown) {
    if (!unknown) return nullptr;
    void* self = nullptr;
    if (FAILED(unknown->QueryInterface(IID_TAutoObject, &self))) return nullptr;
    return static_cast<TAutoObject*>(self);  // not counted: the caller holds the object
}

HRESULT TAutoObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (IsEqualIID(iid, IID_TAutoObject)) {
        *out = this;
        return S_OK;
    }
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch))
        *out = static_cast<IDispatch*>(this);
    else if (IsEqualIID(iid, IID_IConnectionPointContainer))
        *out = static_cast<IConnectionPointContainer*>(this);
    else
        *out = Extra(iid);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT TAutoObject::GetTypeInfoCount(UINT* count) {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

HRESULT TAutoObject::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
    if (info) *info = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT TAutoObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
    if (!names || !ids) return E_POINTER;
    HRESULT hr = S_OK;
    for (UINT n = 0; n < count; ++n) {
        ids[n] = DISPID_UNKNOWN;
        if (n == 0) {
            std::string name = Utf8(names[0]);
            for (size_t i = 0; i < members_.size(); ++i)
                if (SameName(members_[i].name, name)) ids[n] = static_cast<DISPID>(i + 1);
        }
        if (ids[n] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
}

HRESULT TAutoObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                            EXCEPINFO* info, UINT*) {
    if (result) VariantInit(result);
    if (id < 1 || static_cast<size_t>(id) > members_.size()) return DISP_E_MEMBERNOTFOUND;
    const Entry& e = members_[static_cast<size_t>(id - 1)];
    // The object stays while its member runs, whatever the member lets go of.
    TComPtr<IDispatch> self(static_cast<IDispatch*>(this));
    try {
        TAutoArgs args(params);
        if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
            if (!e.put || !params || params->cArgs < 1) return DISP_E_MEMBERNOTFOUND;
            e.put(args, params->rgvarg[0]);
        } else {
            if (!e.get) return DISP_E_MEMBERNOTFOUND;
            e.get(args, result);
        }
        return S_OK;
    } catch (...) {
        if (result) VariantClear(result);
        return HresultFromException(std::current_exception(), info);
    }
}

HRESULT TAutoObject::EnumConnectionPoints(IEnumConnectionPoints** out) {
    if (out) *out = nullptr;
    return E_NOTIMPL;
}

HRESULT TAutoObject::FindConnectionPoint(REFIID iid, IConnectionPoint** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    for (const Connection& c : connections_)
        if (IsEqualIID(c.iid, iid)) {
            try {
                if (c.find) c.find();
            } catch (...) {
                return ReportException(std::current_exception(), IID_IConnectionPointContainer);
            }
            *out = new TAutoConnectionPoint(this, c.iid, c.advise, c.unadvise);
            return S_OK;
        }
    return CONNECT_E_NOCONNECTION;
}

void TAutoObject::Member(const char* name, Getter get, Putter put) {
    members_.push_back({name, std::move(get), std::move(put)});
}

void TAutoObject::Events(const IID& iid, std::function<DWORD(TComPtr<IDispatch>)> advise,
                         std::function<bool(DWORD)> unadvise, std::function<void()> find) {
    connections_.push_back({iid, std::move(advise), std::move(unadvise), std::move(find)});
}

}  // namespace win
