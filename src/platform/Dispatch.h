#pragma once
// Object-model references: shared pointers to abstract classes. Dropping a reference (a reset)
// is the release; asking an object for another of its interfaces is QueryInterface, which
// raises EIntfCastError when the object doesn't offer it.
#include <cstdint>
#include <memory>

#include "base/Exceptions.h"

namespace platform {

// The root of every object-model interface.
class IDispatch {
public:
    virtual ~IDispatch() = default;
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

}  // namespace platform
