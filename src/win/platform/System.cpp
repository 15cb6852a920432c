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

namespace {
std::wstring WidePath(const std::string& utf8) {
    std::u16string w = Utf8ToUtf16(utf8);
    return std::wstring(w.begin(), w.end());
}
}  // namespace

std::FILE* OpenFile(const std::string& path, const char* mode) {
    std::wstring m(mode, mode + std::char_traits<char>::length(mode));
    return _wfopen(WidePath(path).c_str(), m.c_str());
}

bool FileExists(const std::string& path) { return GetFileAttributesW(WidePath(path).c_str()) != INVALID_FILE_ATTRIBUTES; }

bool RemoveFile(const std::string& path) { return DeleteFileW(WidePath(path).c_str()) != 0; }

}  // namespace platform
