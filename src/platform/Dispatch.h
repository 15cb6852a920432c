#pragma once
// Object-model references: shared pointers to abstract classes. Dropping a reference (a reset)
// is the release; asking an object for another of its interfaces is QueryInterface, which
// raises EIntfCastError when the object doesn't offer it.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Exceptions.h"
#include "base/Variant.h"

namespace platform {

// The root of every object-model interface. An event sink is called through Invoke with the
// dispatch ID of the event and its arguments; other objects ignore it.
class IDispatch {
public:
    virtual ~IDispatch() = default;
    virtual void Invoke(int32_t dispId, const std::vector<Variant>& args) {}
    // A property read by name, late-bound, for an object whose interface the caller doesn't
    // know. A name the object lacks raises EOleException.
    virtual Variant GetProperty(const std::string& name);
};

[[noreturn]] void ThrowIntfCastError();

// The interface T of obj. An empty reference gives an empty one; an object without T raises
// EIntfCastError.
template <class T, class S>
std::shared_ptr<T> QueryInterface(const std::shared_ptr<S>& obj) {
    if (!obj) return nullptr;
    auto result = std::dynamic_pointer_cast<T>(obj);
    if (!result) ThrowIntfCastError();
    return result;
}

[[noreturn]] void ThrowNilReference();

// The object behind a reference. An empty one raises EAccessViolation, as a call through a
// nil interface does, so that the caller's guard sees an ordinary failure.
template <class T>
T& Use(const std::shared_ptr<T>& obj) {
    if (!obj) ThrowNilReference();
    return *obj;
}

// An event connection of an object: a sink advised on it receives its events by dispatch ID.
class IConnectionPoint : public IDispatch {
public:
    virtual uint32_t Advise(const std::shared_ptr<IDispatch>& sink) = 0;
    virtual void Unadvise(uint32_t cookie) = 0;
};

// An object that raises events offers one connection point per event interface, found by the
// interface's ID. An unknown ID raises EOleException.
class IConnectionPointContainer : public IDispatch {
public:
    virtual std::shared_ptr<IConnectionPoint> FindConnectionPoint(const std::string& iid) = 0;
};

}  // namespace platform
