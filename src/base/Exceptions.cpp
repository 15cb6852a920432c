#include "base/Exceptions.h"

#include <new>
#include <stdexcept>

ExceptionInfo DescribeException(std::exception_ptr e) {
    try {
        if (e) std::rethrow_exception(e);
    } catch (const Exception& ex) {
        return {ex.ClassName(), ex.Message()};
    } catch (const std::bad_alloc& ex) {
        return {"EOutOfMemory", ex.what()};
    } catch (const std::out_of_range& ex) {
        return {"ERangeError", ex.what()};
    } catch (const std::exception& ex) {
        return {"Exception", ex.what()};
    } catch (...) {
        return {"Exception", "Unknown exception"};
    }
    return {"Exception", ""};
}
