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

// Runs body; an exception it throws goes to onError(const ExceptionInfo&). An exception that
// the handler itself raises (a log that can't be opened) takes the place of the first and
// reaches the caller, as it would from any exception handler.
template <class Body, class Handler>
bool Guarded(Body&& body, Handler&& onError) {
    ExceptionInfo info;
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        info = DescribeException(std::current_exception());
    }
    onError(info);
    return false;
}
