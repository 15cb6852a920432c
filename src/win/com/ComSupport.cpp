#include "win/com/ComSupport.h"

#include <cmath>

#include "base/Exceptions.h"
#include "platform/Text.h"

namespace win {

std::atomic<long> TComObjectCount::live_{0};
std::atomic<long> TComObjectCount::locks_{0};

std::wstring Wide(const std::string& utf8) {
    std::u16string w = platform::Utf8ToUtf16(utf8);
    return std::wstring(w.begin(), w.end());
}

std::string Utf8(const wchar_t* text, size_t length) {
    if (!text) return {};
    return platform::Utf16ToUtf8(std::u16string(text, text + length));
}

std::string Utf8(const wchar_t* text) { return text ? Utf8(text, wcslen(text)) : std::string(); }

std::string BstrText(BSTR b) { return b ? Utf8(b, SysStringLen(b)) : std::string(); }

BSTR NewBstr(const std::string& utf8) {
    std::wstring w = Wide(utf8);
    return SysAllocStringLen(w.data(), static_cast<UINT>(w.size()));
}

namespace {

const VARIANT& Deref(const VARIANT& v) {
    if (V_VT(&v) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(&v)) return *V_VARIANTREF(&v);
    return v;
}

[[noreturn]] void CannotTake(const VARIANT& v) {
    throw EVariantError("Could not convert variant of type (" + std::to_string(V_VT(&v)) + ")");
}

}  // namespace

Variant FromVariant(const VARIANT& in) {
    const VARIANT& v = Deref(in);
    VARTYPE vt = V_VT(&v);
    bool ref = (vt & VT_BYREF) != 0;
    switch (vt & ~VT_BYREF) {
        case VT_EMPTY:
        case VT_NULL: return Variant();
        case VT_BOOL: return Variant((ref ? *V_BOOLREF(&v) : V_BOOL(&v)) != VARIANT_FALSE);
        case VT_I1: return Variant(static_cast<int>(ref ? *V_I1REF(&v) : V_I1(&v)));
        case VT_UI1: return Variant(static_cast<int>(ref ? *V_UI1REF(&v) : V_UI1(&v)));
        case VT_I2: return Variant(static_cast<int>(ref ? *V_I2REF(&v) : V_I2(&v)));
        case VT_UI2: return Variant(static_cast<int>(ref ? *V_UI2REF(&v) : V_UI2(&v)));
        case VT_I4: return Variant(static_cast<int64_t>(ref ? *V_I4REF(&v) : V_I4(&v)));
        case VT_UI4: return Variant(static_cast<int64_t>(ref ? *V_UI4REF(&v) : V_UI4(&v)));
        case VT_INT: return Variant(static_cast<int64_t>(ref ? *V_INTREF(&v) : V_INT(&v)));
        case VT_UINT: return Variant(static_cast<int64_t>(ref ? *V_UINTREF(&v) : V_UINT(&v)));
        case VT_I8: return Variant(static_cast<int64_t>(ref ? *V_I8REF(&v) : V_I8(&v)));
        case VT_R4: return Variant(static_cast<double>(ref ? *V_R4REF(&v) : V_R4(&v)));
        case VT_R8: return Variant(ref ? *V_R8REF(&v) : V_R8(&v));
        case VT_DATE: return Variant::FromDate(ref ? *V_DATEREF(&v) : V_DATE(&v));
        case VT_CY: return Variant(Currency::FromRaw((ref ? *V_CYREF(&v) : V_CY(&v)).int64));
        case VT_BSTR: return Variant(BstrText(ref ? *V_BSTRREF(&v) : V_BSTR(&v)));
        default: CannotTake(v);
    }
}

void ToVariant(const Variant& value, VARIANT* out) {
    VariantInit(out);
    switch (value.type()) {
        case Variant::Type::Null: V_VT(out) = VT_NULL; break;
        case Variant::Type::Boolean:
            V_VT(out) = VT_BOOL;
            V_BOOL(out) = value.AsBoolean() ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case Variant::Type::Integer: {
            int64_t i = value.AsInt64();
            if (i >= INT32_MIN && i <= INT32_MAX) {
                V_VT(out) = VT_I4;
                V_I4(out) = static_cast<LONG>(i);
            } else {
                V_VT(out) = VT_I8;
                V_I8(out) = i;
            }
            break;
        }
        case Variant::Type::Double:
            V_VT(out) = VT_R8;
            V_R8(out) = value.AsDouble();
            break;
        case Variant::Type::Currency:
            V_VT(out) = VT_CY;
            V_CY(out).int64 = value.AsCurrency().value;
            break;
        case Variant::Type::Date:
            V_VT(out) = VT_DATE;
            V_DATE(out) = value.AsDateTime();
            break;
        case Variant::Type::String:
            V_VT(out) = VT_BSTR;
            V_BSTR(out) = NewBstr(value.AsString());
            break;
    }
}

std::string VariantText(const VARIANT& in) {
    const VARIANT& v = Deref(in);
    if (V_VT(&v) == VT_BSTR) return BstrText(V_BSTR(&v));
    if (V_VT(&v) == (VT_BSTR | VT_BYREF)) return BstrText(*V_BSTRREF(&v));
    TVariant s;
    if (FAILED(VariantChangeType(s.Get(), const_cast<VARIANT*>(&v), 0, VT_BSTR))) CannotTake(v);
    return BstrText(V_BSTR(s.Get()));
}

TComPtr<IDispatch> VariantObject(const VARIANT& in) {
    const VARIANT& v = Deref(in);
    IUnknown* unk = nullptr;
    switch (V_VT(&v)) {
        case VT_EMPTY:
        case VT_NULL: return {};
        case VT_DISPATCH: unk = V_DISPATCH(&v); break;
        case VT_UNKNOWN: unk = V_UNKNOWN(&v); break;
        case VT_DISPATCH | VT_BYREF: unk = *V_DISPATCHREF(&v); break;
        case VT_UNKNOWN | VT_BYREF: unk = *V_UNKNOWNREF(&v); break;
        default: CannotTake(v);
    }
    TComPtr<IDispatch> d;
    if (unk && FAILED(unk->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(d.Out()))))
        throw EVariantError("The object offers no IDispatch");
    return d;
}

namespace {

std::string SystemMessage(HRESULT hr) {
    wchar_t* buf = nullptr;
    DWORD n = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                             nullptr, static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(&buf), 0, nullptr);
    std::string text = n ? Utf8(buf, n) : std::string();
    if (buf) LocalFree(buf);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) text.pop_back();
    if (text.empty()) {
        char code[16];
        snprintf(code, sizeof code, "%08lX", static_cast<unsigned long>(hr));
        text = std::string("OLE error ") + code;
    }
    return text;
}

}  // namespace

namespace {

// An exception thrown on the other side of a COM call, of a class this side doesn't know.
class ERemoteException : public Exception {
public:
    ERemoteException(std::string className, std::string message)
        : Exception(std::move(message)), className_(std::move(className)) {}
    const char* ClassName() const noexcept override { return className_.c_str(); }

private:
    std::string className_;
};

template <class E>
[[noreturn]] void Throw(const std::string& message) {
    throw E(message);
}

using Thrower = void (*)(const std::string&);

Thrower KnownClass(const std::string& name) {
    static const std::pair<const char*, Thrower> known[] = {
        {"Exception", &Throw<Exception>},
        {"EOleException", &Throw<EOleException>},
        {"EAccessViolation", &Throw<EAccessViolation>},
        {"EIntfCastError", &Throw<EIntfCastError>},
        {"EVariantError", &Throw<EVariantError>},
        {"EConvertError", &Throw<EConvertError>},
        {"EDatabaseError", &Throw<EDatabaseError>},
        {"EListError", &Throw<EListError>},
        {"EInOutError", &Throw<EInOutError>},
        {"EStreamError", &Throw<EStreamError>},
        {"EFOpenError", &Throw<EFOpenError>},
        {"EFCreateError", &Throw<EFCreateError>},
        {"EReadError", &Throw<EReadError>},
    };
    for (const auto& [n, t] : known)
        if (name == n) return t;
    return nullptr;
}

}  // namespace

void RaiseNamed(const std::string& className, const std::string& message) {
    if (Thrower t = KnownClass(className)) t(message);
    throw ERemoteException(className.empty() ? "Exception" : className, message);
}

void RaiseOle(HRESULT hr, const std::string& what, EXCEPINFO* info) {
    std::string message;
    std::string source;
    if (hr == DISP_E_EXCEPTION && info) {
        if (info->pfnDeferredFillIn) info->pfnDeferredFillIn(info);
        message = BstrText(info->bstrDescription);
        source = BstrText(info->bstrSource);
        if (message.empty() && FAILED(info->scode)) message = SystemMessage(info->scode);
    }
    if (info) {
        SysFreeString(info->bstrSource);
        SysFreeString(info->bstrDescription);
        SysFreeString(info->bstrHelpFile);
        *info = EXCEPINFO{};
    }
    if (message.empty()) {
        message = hr == DISP_E_UNKNOWNNAME ? "Method '" + what + "' not supported by automation object"
                                           : SystemMessage(hr);
    }
    if (Thrower t = KnownClass(source)) t(message);
    throw EOleException(message);
}

HRESULT HresultFromException(std::exception_ptr e, EXCEPINFO* info) {
    ExceptionInfo d = DescribeException(e);
    HRESULT hr = E_FAIL;
    try {
        std::rethrow_exception(e);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    } catch (...) {
    }
    if (!info) return hr;
    *info = EXCEPINFO{};
    info->bstrSource = NewBstr(d.className);
    info->bstrDescription = NewBstr(d.message);
    info->scode = hr;
    return DISP_E_EXCEPTION;
}

HRESULT ReportException(std::exception_ptr e, const IID& iid) {
    ExceptionInfo d = DescribeException(e);
    TComPtr<ICreateErrorInfo> create;
    if (SUCCEEDED(CreateErrorInfo(create.Out()))) {
        std::wstring text = Wide(d.message);
        std::wstring source = Wide(d.className);
        create->SetGUID(iid);
        create->SetDescription(text.data());
        create->SetSource(source.data());
        TComPtr<IErrorInfo> error = create.As<IErrorInfo>(IID_IErrorInfo);
        SetErrorInfo(0, error.Get());
    }
    return HresultFromException(e);
}

void RaiseFromErrorInfo(HRESULT hr, const std::string& what) {
    TComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, error.Out()) == S_OK && error) {
        BSTR text = nullptr;
        BSTR source = nullptr;
        error->GetDescription(&text);
        error->GetSource(&source);
        std::string message = BstrText(text);
        std::string className = BstrText(source);
        SysFreeString(text);
        SysFreeString(source);
        if (!message.empty()) RaiseNamed(className, message);
    }
    RaiseOle(hr, what);
}

}  // namespace win
