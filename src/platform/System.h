#pragma once
// Small services of the operating system that the logger and the module need.
#include <string>

namespace platform {

// The user's temporary folder with its trailing separator ($TMPDIR or /tmp/ on Linux).
std::string TempFolder();
// The current process's ID.
long ProcessId();
// The directory separator of the platform ('/' on Linux, '\\' on Windows).
char PathDelimiter();

}  // namespace platform
