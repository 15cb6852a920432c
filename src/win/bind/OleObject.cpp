#include "win/bind/OleObject.h"

#include <vector>

#include "base/Exceptions.h"

namespace win {

TOleObject::TOleObject(TComPtr<IDispatch> dispatch) : dispatch_(std::move(dispatch)) {
    if (!dispatch_) throw EAccessViolation("Access violation: the automation object is empty");
}

DISPID TOleObject::Id(const char* name) {
    auto found = ids_.find(name);
    if (found != ids_.end()) return found->second;
    std::wstring wide = Wide(name);
    LPOLESTR names[] = {wide.data()};
    DISPID id = DISPID_UNKNOWN;
    HRESULT hr = dispatch_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(hr)) RaiseOle(hr, name);
    ids_.emplace(name, id);
    return id;
}

void TOleObject::Invoke(const char* name, WORD flags, std::initializer_list<TOleArg> args, VARIANT* result) {
    DISPID id = Id(name);
    // Arguments go in reverse order.
    std::vector<VARIANT> values(args.size());
    size_t i = args.size();
    for (const TOleArg& a : args) {
        VARIANT& v = values[--i];
        if (a.object) {
            VariantInit(&v);
            V_VT(&v) = VT_DISPATCH;
            V_DISPATCH(&v) = a.object;
            a.object->AddRef();
        } else {
            ToVariant(a.value, &v);
        }
    }
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS params{values.data(), nullptr, static_cast<UINT>(values.size()), 0};
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
        params.rgdispidNamedArgs = &named;
        params.cNamedArgs = 1;
    }
    EXCEPINFO info{};
    UINT argError = 0;
    HRESULT hr = dispatch_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, result, &info, &argError);
    for (VARIANT& v : values) VariantClear(&v);
    if (FAILED(hr)) RaiseOle(hr, name, &info);
}

Variant TOleObject::Get(const char* name, std::initializer_list<TOleArg> args) {
    TVariant result;
    Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args, result.Get());
    return FromVariant(*result);
}

TComPtr<IDispatch> TOleObject::GetObject(const char* name, std::initializer_list<TOleArg> args) {
    TVariant result;
    Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args, result.Get());
    return VariantObject(*result);
}

void TOleObject::Put(const char* name, const TOleArg& value) {
    Invoke(name, value.object ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT, {value}, nullptr);
}

void TOleObject::Call(const char* name, std::initializer_list<TOleArg> args) {
    TVariant result;
    Invoke(name, DISPATCH_METHOD, args, result.Get());
}

std::string TOleObject::GetText(const char* name, std::initializer_list<TOleArg> args) {
    TVariant result;
    Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args, result.Get());
    if (V_VT(result.Get()) == VT_EMPTY || V_VT(result.Get()) == VT_NULL) return {};
    return VariantText(*result);
}

int TOleObject::GetInt(const char* name, std::initializer_list<TOleArg> args) {
    return Get(name, args).AsInteger();
}

}  // namespace win
