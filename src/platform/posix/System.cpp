#include "platform/System.h"

#include <cstdlib>
#include <filesystem>

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

std::FILE* OpenFile(const std::string& path, const char* mode) { return std::fopen(path.c_str(), mode); }

bool FileExists(const std::string& path) {
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

bool RemoveFile(const std::string& path) {
    std::error_code ec;
    return std::filesystem::remove(path, ec);
}

}  // namespace platform
