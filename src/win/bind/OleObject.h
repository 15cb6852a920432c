#pragma once
// TOleObject: a late-bound automation object. Its members are called by name through IDispatch;
// each name is resolved once (GetIDsOfNames) and kept for the object's life. A failed call
// raises EOleException with the object's own message (the EXCEPINFO's description).
#include <initializer_list>
#include <string>
#include <unordered_map>

#include "base/Variant.h"
#include "win/com/ComSupport.h"

namespace win {

// One argument of a call: a value, or an object.
struct TOleArg {
    TOleArg(Variant v) : value(std::move(v)) {}
    TOleArg(int v) : value(v) {}
    TOleArg(bool v) : value(v) {}
    TOleArg(const char* v) : value(v) {}
    TOleArg(const std::string& v) : value(v) {}
    TOleArg(IDispatch* o) : object(o) {}
    Variant value;
    IDispatch* object = nullptr;
};

class TOleObject {
public:
    explicit TOleObject(TComPtr<IDispatch> dispatch);

    IDispatch* Dispatch() const { return dispatch_.Get(); }
    const TComPtr<IDispatch>& Ref() const { return dispatch_; }

    // A property's value, or a method's result, as a value.
    Variant Get(const char* name, std::initializer_list<TOleArg> args = {});
    // The same as an object; empty when the member gives nothing.
    TComPtr<IDispatch> GetObject(const char* name, std::initializer_list<TOleArg> args = {});
    void Put(const char* name, const TOleArg& value);
    // A method whose result, if any, is dropped.
    void Call(const char* name, std::initializer_list<TOleArg> args = {});

    // Convenience for the common kinds.
    std::string GetText(const char* name, std::initializer_list<TOleArg> args = {});
    int GetInt(const char* name, std::initializer_list<TOleArg> args = {});

private:
    DISPID Id(const char* name);
    void Invoke(const char* name, WORD flags, std::initializer_list<TOleArg> args, VARIANT* result);

    TComPtr<IDispatch> dispatch_;
    std::unordered_map<std::string, DISPID> ids_;
};

// What every binding of an object model has: its automation object, reached by name. The binding
// holds one reference to it, released when the binding goes.
class TOleBound {
public:
    explicit TOleBound(TComPtr<IDispatch> d) : ole_(std::move(d)) {}
    virtual ~TOleBound() = default;
    IDispatch* Automation() const { return ole_.Dispatch(); }

protected:
    TOleObject ole_;
};

// Late-bound reads by name, for a caller that doesn't know the object's kind.
#define CORVELLE_OLE_PROPERTY \
    Variant GetProperty(const std::string& name) override { return ole_.Get(name.c_str()); }

}  // namespace win
