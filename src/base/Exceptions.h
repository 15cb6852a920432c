#pragma once
// Exceptions are the failure signal throughout the system. Each class carries the class name
// that messages quote ("EDatabaseError", "EOleException", ...).
#include <exception>
#include <string>
#include <utility>

class Exception : public std::exception {
public:
    explicit Exception(std::string message) : message_(std::move(message)) {}
    const char* what() const noexcept override { return message_.c_str(); }
    const std::string& Message() const noexcept { return message_; }
    virtual const char* ClassName() const noexcept { return "Exception"; }

private:
    std::string message_;
};

#define CORVELLE_EXCEPTION(Name, Base)                                             \
    class Name : public Base {                                                     \
    public:                                                                        \
        using Base::Base;                                                          \
        const char* ClassName() const noexcept override { return #Name; }          \
    };

CORVELLE_EXCEPTION(EDatabaseError, Exception)
CORVELLE_EXCEPTION(EConvertError, Exception)
CORVELLE_EXCEPTION(EVariantError, Exception)
CORVELLE_EXCEPTION(EListError, Exception)
CORVELLE_EXCEPTION(EOleException, Exception)
CORVELLE_EXCEPTION(EIntfCastError, Exception)
CORVELLE_EXCEPTION(EStreamError, Exception)
CORVELLE_EXCEPTION(EFOpenError, EStreamError)
CORVELLE_EXCEPTION(EFCreateError, EStreamError)
CORVELLE_EXCEPTION(EReadError, EStreamError)
CORVELLE_EXCEPTION(EInOutError, Exception)
CORVELLE_EXCEPTION(EAccessViolation, Exception)

// Class name and message of whatever was thrown, for error handlers that report it.
struct ExceptionInfo {
    std::string className;
    std::string message;
};
ExceptionInfo DescribeException(std::exception_ptr e);
