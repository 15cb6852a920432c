#include "win/bind/OleEvents.h"

#include <vector>

#include "base/Exceptions.h"
#include "base/Guard.h"
#include "win/bind/OleOutlook.h"

namespace win {

IID ParseIid(const std::string& text) {
    IID iid{};
    std::wstring w = Wide(text);
    if (FAILED(IIDFromString(w.c_str(), &iid))) throw EOleException("Not an interface ID: " + text);
    return iid;
}

namespace {

// What the two kinds of sink share: IUnknown, the event interface's IID, and an IDispatch that is
// called by dispatch ID only.
class TSinkBase : public IDispatch, protected TComRefCount {
public:
    explicit TSinkBase(const IID& iid) : iid_(iid) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
        if (!out) return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch) || IsEqualIID(riid, iid_)) {
            *out = static_cast<IDispatch*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (count) *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info) *info = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }

private:
    IID iid_;
};

class TEventDispatch final : public TSinkBase {
public:
    TEventDispatch(const IID& iid, std::shared_ptr<platform::IDispatch> target)
        : TSinkBase(iid), target_(std::move(target)) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        if (result) VariantInit(result);
        // The sink may let go of its own connection while it works: it stays until the call ends.
        TComPtr<IDispatch> self(this);
        std::shared_ptr<platform::IDispatch> target = target_;
        Swallow([&] {
            std::vector<Variant> args;
            UINT n = params ? params->cArgs : 0;
            for (UINT i = 0; i < n; ++i) {
                Variant value;
                Swallow([&] { value = FromVariant(params->rgvarg[n - 1 - i]); });
                args.push_back(std::move(value));
            }
            target->Invoke(id, args);
        });
        return S_OK;  // what the sink did is its own affair: the event was delivered
    }

private:
    std::shared_ptr<platform::IDispatch> target_;
};

class TItemsEventsDispatch final : public TSinkBase {
public:
    explicit TItemsEventsDispatch(std::shared_ptr<outlook::ItemsEvents> target)
        : TSinkBase(ParseIid(outlook::IID_ItemsEvents)), target_(std::move(target)) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        if (result) VariantInit(result);
        TComPtr<IDispatch> self(this);
        std::shared_ptr<outlook::ItemsEvents> target = target_;
        if (id == outlook::DISPID_ItemAdd && params && params->cArgs >= 1)
            Swallow([&] { target->ItemAdd(BindOutlookObject(VariantObject(params->rgvarg[params->cArgs - 1]))); });
        return S_OK;
    }

private:
    std::shared_ptr<outlook::ItemsEvents> target_;
};

class TOleConnectionPoint final : public platform::IConnectionPoint {
public:
    TOleConnectionPoint(TComPtr<::IConnectionPoint> point, const IID& iid) : point_(std::move(point)), iid_(iid) {}

    uint32_t Advise(const std::shared_ptr<platform::IDispatch>& sink) override {
        if (!sink) throw EAccessViolation("Access violation: no sink to advise");
        TComPtr<::IDispatch> com = MakeEventSink(iid_, sink);
        DWORD cookie = 0;
        HRESULT hr = point_->Advise(com.Get(), &cookie);
        if (FAILED(hr)) RaiseOle(hr, "Advise");
        return cookie;
    }

    void Unadvise(uint32_t cookie) override {
        HRESULT hr = point_->Unadvise(cookie);
        if (FAILED(hr)) RaiseOle(hr, "Unadvise");
    }

private:
    TComPtr<::IConnectionPoint> point_;
    IID iid_;
};

}  // namespace

TComPtr<IDispatch> MakeEventSink(const IID& iid, std::shared_ptr<platform::IDispatch> target) {
    return TComPtr<IDispatch>::Attach(new TEventDispatch(iid, std::move(target)));
}

TComPtr<IDispatch> MakeItemsEventsSink(std::shared_ptr<outlook::ItemsEvents> target) {
    return TComPtr<IDispatch>::Attach(new TItemsEventsDispatch(std::move(target)));
}

std::shared_ptr<platform::IConnectionPoint> FindOleConnectionPoint(IDispatch* obj, const std::string& iid) {
    if (!obj) throw EAccessViolation("Access violation: no object to connect to");
    TComPtr<::IConnectionPointContainer> container;
    if (FAILED(obj->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(container.Out()))))
        throw EIntfCastError("Interface not supported");
    IID id = ParseIid(iid);
    TComPtr<::IConnectionPoint> point;
    HRESULT hr = container->FindConnectionPoint(id, point.Out());
    if (FAILED(hr)) RaiseOle(hr, "FindConnectionPoint");
    return std::make_shared<TOleConnectionPoint>(std::move(point), id);
}

}  // namespace win
