#pragma once
// Automation objects of our own, for a program that plays an automation server (corvelle-winhost
// exposing the simulated Outlook): TAutoObject answers IDispatch from a table of members by name
// (properties to read and write, methods), case-blind as Automation is, and offers connection
// points for event interfaces. A member that throws answers DISP_E_EXCEPTION with the message, and
// the exception's class name as the EXCEPINFO's source.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Variant.h"
#include "win/com/ComSupport.h"

namespace win {

// The arguments of a call, in the order the caller wrote them.
class TAutoArgs {
public:
    explicit TAutoArgs(const DISPPARAMS* params);
    size_t Count() const { return args_.size(); }
    bool Has(size_t i) const;  // given, and not a missing optional argument
    const VARIANT& At(size_t i) const;
    Variant Value(size_t i) const;
    std::string Text(size_t i) const;
    int Int(size_t i) const;
    bool Bool(size_t i) const;
    TDateTime Date(size_t i) const;
    TComPtr<IDispatch> Object(size_t i) const;
    // Whether argument i is text (Item takes a name or a position).
    bool IsText(size_t i) const;

private:
    std::vector<const VARIANT*> args_;
};

// What a member gives back.
void SetResult(VARIANT* result, const Variant& value);
void SetResult(VARIANT* result, TComPtr<IDispatch> object);
void SetDateResult(VARIANT* result, TDateTime value);

// A set of event sinks of one event interface, with cookies counted from 1. Fire calls each sink
// advised when the event began and still advised, in the order they came; what a sink answers
// stays with the sink.
class TAutoSinks {
public:
    DWORD Advise(TComPtr<IDispatch> sink);
    bool Unadvise(DWORD cookie);
    void Fire(DISPID id, const std::vector<VARIANT>& args);
    size_t Count() const { return sinks_.size(); }
    void Clear() { sinks_.clear(); }

private:
    std::vector<std::pair<DWORD, TComPtr<IDispatch>>> sinks_;
    DWORD next_ = 1;
};

// A connection point of container's for the events iid, advising and unadvising as given (for an
// object of ours that is no TAutoObject).
TComPtr<IConnectionPoint> NewConnectionPoint(IConnectionPointContainer* container, const IID& iid,
                                             std::function<DWORD(TComPtr<IDispatch>)> advise,
                                             std::function<bool(DWORD)> unadvise);

// The private interface by which an object of ours is told from a foreign one.
extern const IID IID_TAutoObject;

class TAutoObject : public IDispatch, public IConnectionPointContainer, protected TComRefCount {
public:
    using Getter = std::function<void(const TAutoArgs& args, VARIANT* result)>;
    using Putter = std::function<void(const TAutoArgs& args, const VARIANT& value)>;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return DoAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return DoRelease(); }
    // IDispatch
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* info, UINT* argError) override;
    // IConnectionPointContainer
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** out) override;

    // The object of ours behind an interface pointer; null for a foreign object.
    static TAutoObject* Of(IUnknown* unknown);

protected:
    TAutoObject() = default;
    // The members, each name once; a property may have both a getter and a putter.
    void Member(const char* name, Getter get, Putter put = nullptr);
    // A connection point for the events iid: advise and unadvise as given; find, when given, runs
    // when the point is asked for and may refuse it by throwing.
    void Events(const IID& iid, std::function<DWORD(TComPtr<IDispatch>)> advise, std::function<bool(DWORD)> unadvise,
                std::function<void()> find = nullptr);
    // Another interface the object answers (the part of it that answers it).
    virtual void* Extra(REFIID) { return nullptr; }

private:
    struct Entry {
        std::string name;
        Getter get;
        Putter put;
    };
    struct Connection {
        IID iid;
        std::function<DWORD(TComPtr<IDispatch>)> advise;
        std::function<bool(DWORD)> unadvise;
        std::function<void()> find;
    };
    std::vector<Entry> members_;
    std::vector<Connection> connections_;
};

}  // namespace win
