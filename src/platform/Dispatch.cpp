#include "platform/Dispatch.h"

namespace platform {

void ThrowIntfCastError() { throw EIntfCastError("Interface not supported"); }

void ThrowNilReference() { throw EAccessViolation("Access violation: the object reference is empty"); }

}  // namespace platform

namespace platform {

Variant IDispatch::GetProperty(const std::string& name) { throw EOleException("Unknown name: " + name); }

}  // namespace platform
