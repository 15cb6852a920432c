#include "platform/System.h"

#include <cstdlib>

#include <unistd.h>

namespace platform {

std::string TempFolder() {
    const char* t = std::getenv("TMPDIR");
    std::string dir = t && *t ? t : "/tmp";
    if (dir.back() != '/') dir += '/';
    return dir;
}

long ProcessId() { return static_cast<long>(getpid()); }

char PathDelimiter() { return '/'; }

}  // namespace platform
