// The small services of the system on Windows.
#include "platform/System.h"

#include <windows.h>

#include "platform/Text.h"

namespace platform {

std::string TempFolder() {
    wchar_t buf[MAX_PATH + 2];
    DWORD n = GetTempPathW(MAX_PATH + 2, buf);
    if (n == 0 || n > MAX_PATH + 1) return ".\\";
    std::u16string path(buf, buf + n);
    std::string out = Utf16ToUtf8(path);
    if (out.back() != '\\') out += '\\';
    return out;
}

long ProcessId() { return static_cast<long>(GetCurrentProcessId()); }

char PathDelimiter() { return '\\'; }

int32_t UserDefaultLCID() { return static_cast<int32_t>(GetUserDefaultLCID()); }

}  // namespace platform
