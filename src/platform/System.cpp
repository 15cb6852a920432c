#include "platform/System.h"

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <unicode/uloc.h>
#include <unistd.h>
#endif

namespace platform {

std::string TempFolder() {
#ifdef _WIN32
    char buf[MAX_PATH + 1];
    DWORD n = GetTempPathA(MAX_PATH + 1, buf);
    return std::string(buf, n);
#else
    const char* t = std::getenv("TMPDIR");
    std::string dir = t && *t ? t : "/tmp";
    if (dir.back() != '/') dir += '/';
    return dir;
#endif
}

long ProcessId() {
#ifdef _WIN32
    return static_cast<long>(GetCurrentProcessId());
#else
    return static_cast<long>(getpid());
#endif
}

char PathDelimiter() {
#ifdef _WIN32
    return '\\';
#else
    return '/';
#endif
}

int32_t UserDefaultLCID() {
#ifdef _WIN32
    return static_cast<int32_t>(GetUserDefaultLCID());
#else
    uint32_t lcid = uloc_getLCID(uloc_getDefault());
    return lcid ? static_cast<int32_t>(lcid) : 1033;
#endif
}

}  // namespace platform
