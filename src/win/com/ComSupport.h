#pragma once
// What every COM object and call of the Windows side uses: a counted interface pointer, BSTR and
// VARIANT holders, conversion between VARIANT and the system's Variant, the count of live COM
// objects (which DllCanUnloadNow reads), and the two directions of failure: an HRESULT with its
// EXCEPINFO raised as EOleException, and an exception turned into an HRESULT at a COM boundary,
// which no exception crosses.
#include <windows.h>
#include <ole2.h>
#include <ocidl.h>
#include <oleauto.h>

#include <atomic>
#include <exception>
#include <string>
#include <utility>

#include "base/Variant.h"

namespace win {

// One reference to a COM interface: released when the holder goes or is reset.
template <class T>
class TComPtr {
public:
    TComPtr() = default;
    TComPtr(std::nullptr_t) {}
    // Takes a reference of its own.
    explicit TComPtr(T* p) : p_(p) {
        if (p_) p_->AddRef();
    }
    TComPtr(const TComPtr& o) : TComPtr(o.p_) {}
    TComPtr(TComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    TComPtr& operator=(TComPtr o) noexcept {
        std::swap(p_, o.p_);
        return *this;
    }
    ~TComPtr() { Reset(); }

    // Takes over a reference that the caller already holds (an out parameter's).
    static TComPtr Attach(T* p) {
        TComPtr r;
        r.p_ = p;
        return r;
    }
    void Reset() {
        if (p_) std::exchange(p_, nullptr)->Release();
    }
    T* Get() const { return p_; }
    T* operator->() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }
    // For an out parameter: drops what is held and gives the slot.
    T** Out() {
        Reset();
        return &p_;
    }
    // A reference for a caller's out parameter.
    T* Detach() { return std::exchange(p_, nullptr); }

    template <class U>
    TComPtr<U> As(REFIID iid) const {
        TComPtr<U> r;
        if (p_) p_->QueryInterface(iid, reinterpret_cast<void**>(r.Out()));
        return r;
    }

private:
    T* p_ = nullptr;
};

// Text conversions between the system's UTF-8 and COM's UTF-16.
std::wstring Wide(const std::string& utf8);
std::string Utf8(const wchar_t* text);
std::string Utf8(const wchar_t* text, size_t length);
// A BSTR's text; null is the empty text.
std::string BstrText(BSTR b);
// A new BSTR for a caller's out parameter (the caller frees it).
BSTR NewBstr(const std::string& utf8);

// A VARIANT that is cleared when it goes.
class TVariant {
public:
    TVariant() { VariantInit(&v_); }
    ~TVariant() { VariantClear(&v_); }
    TVariant(const TVariant&) = delete;
    TVariant& operator=(const TVariant&) = delete;
    VARIANT* operator&() { return &v_; }
    VARIANT& operator*() { return v_; }
    const VARIANT& operator*() const { return v_; }
    VARIANT* Get() { return &v_; }
    const VARIANT* Get() const { return &v_; }

private:
    VARIANT v_;
};

// A Variant from a VARIANT (by reference or not): empty and null give null, integers of every
// width Integer, VT_DATE Date, VT_CY Currency, strings String. Anything else (an object, an
// array) raises EVariantError.
Variant FromVariant(const VARIANT& v);
// A VARIANT holding the value; the caller clears it.
void ToVariant(const Variant& value, VARIANT* out);
// The text of a VARIANT, converting as Automation does (numbers, dates, booleans); raises
// EVariantError when it can't.
std::string VariantText(const VARIANT& v);
// The object a VARIANT holds (VT_DISPATCH or VT_UNKNOWN, also by reference); null for
// VT_EMPTY and VT_NULL and an empty object; raises EVariantError for anything else.
TComPtr<IDispatch> VariantObject(const VARIANT& v);

// GetIDsOfNames of an object whose members are known by name alone: the first name is looked up
// with idOf (which answers DISPID_UNKNOWN for none); named arguments are not taken.
template <typename IdOf>
HRESULT IdsOfNames(LPOLESTR* names, UINT count, DISPID* ids, IdOf idOf) {
    if (!names || !ids) return E_POINTER;
    HRESULT hr = S_OK;
    for (UINT i = 0; i < count; ++i) {
        ids[i] = i == 0 ? idOf(Utf8(names[0])) : DISPID_UNKNOWN;
        if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
}

// Raises the failure of a call: the EXCEPINFO's description when there is one (the EXCEPINFO's
// strings are freed), else Windows' text for the HRESULT, with what was called. The exception is
// an EOleException, or the system's own class when the EXCEPINFO's source names one (as the
// objects of corvelle-winhost do, so that a failure keeps its class across COM).
[[noreturn]] void RaiseOle(HRESULT hr, const std::string& what, EXCEPINFO* info = nullptr);
// Raises an exception of the system's class of that name with the message; a name the system
// doesn't know gives an Exception that reports that class name.
[[noreturn]] void RaiseNamed(const std::string& className, const std::string& message);
// The HRESULT of what was thrown, for a COM method that must not let it pass; when info is
// given, it carries the message (DISP_E_EXCEPTION is then the answer). The exception's class
// name goes into the EXCEPINFO's source.
HRESULT HresultFromException(std::exception_ptr e, EXCEPINFO* info = nullptr);
// The same, with the message also set as the thread's error info (IErrorInfo) for a vtable call.
HRESULT ReportException(std::exception_ptr e, const IID& iid);

// A new object of class T, held through its interface I, asked for the interface iid: what a
// class factory's CreateInstance answers. A failure to make it comes back as its HRESULT.
template <class T, class I>
HRESULT NewComObject(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    try {
        TComPtr<I> object = TComPtr<I>::Attach(new T());
        return object->QueryInterface(iid, out);
    } catch (...) {
        return HresultFromException(std::current_exception());
    }
}
// Raises the failure of a vtable call: the thread's error info (its description, and its source
// as the class), else Windows' text for the HRESULT.
[[noreturn]] void RaiseFromErrorInfo(HRESULT hr, const std::string& what);

// The live COM objects made by this module (DLL or program): DllCanUnloadNow answers no while
// there are any, or while the server is locked.
class TComObjectCount {
public:
    static void Created() noexcept { live_.fetch_add(1); }
    static void Destroyed() noexcept { live_.fetch_sub(1); }
    static long Live() noexcept { return live_.load(); }
    static void Lock(bool lock) noexcept { locks_.fetch_add(lock ? 1 : -1); }
    static long Locks() noexcept { return locks_.load(); }

private:
    static std::atomic<long> live_;
    static std::atomic<long> locks_;
};

// The reference count of a COM object made with new; it deletes itself at zero, and is counted
// among the module's live objects while it lives.
class TComRefCount {
public:
    TComRefCount() noexcept { TComObjectCount::Created(); }
    virtual ~TComRefCount() { TComObjectCount::Destroyed(); }
    TComRefCount(const TComRefCount&) = delete;
    TComRefCount& operator=(const TComRefCount&) = delete;

protected:
    ULONG DoAddRef() noexcept { return refs_.fetch_add(1) + 1; }
    ULONG DoRelease() noexcept {
        ULONG r = refs_.fetch_sub(1) - 1;
        if (r == 0) delete this;
        return r;
    }

private:
    std::atomic<ULONG> refs_{1};
};

}  // namespace win
