#pragma once
// The system's guard: a routine runs inside it, and whatever it throws ends the routine
// without a word. Routines that report instead of staying silent pass a handler.
#include <exception>
#include <utility>

#include "base/Exceptions.h"

// Runs body; every exception it throws is swallowed. Returns false when one was.
template <class Body>
bool Swallow(Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        return false;
    }
}

// Runs body; an exception it throws goes to onError(const ExceptionInfo&), itself guarded.
template <class Body, class Handler>
bool Guarded(Body&& body, Handler&& onError) noexcept {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        ExceptionInfo info = DescribeException(std::current_exception());
        Swallow([&] { onError(info); });
        return false;
    }
}
