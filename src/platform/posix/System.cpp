#include "platform/System.h"

#include <cstdlib>

#include <unicode/uloc.h>
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

int32_t UserDefaultLCID() {
    uint32_t lcid = uloc_getLCID(uloc_getDefault());
    return lcid ? static_cast<int32_t>(lcid) : 1033;
}

}  // namespace platform
