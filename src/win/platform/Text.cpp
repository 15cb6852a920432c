// The text services on Windows: the machine's ANSI code page (CP_ACP) and the user locale's
// collation (CompareStringA, CompareStringW), as the system's own calls give them.
#include "platform/Text.h"

#include <windows.h>

#include <climits>
#include <string>

namespace platform {
namespace {

int Length(size_t n) { return n > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<int>(n); }

std::wstring ToWide(std::string_view text, UINT codePage) {
    if (text.empty()) return {};
    int n = MultiByteToWideChar(codePage, 0, text.data(), Length(text.size()), nullptr, 0);
    std::wstring out(static_cast<size_t>(n > 0 ? n : 0), L'\0');
    if (n > 0) MultiByteToWideChar(codePage, 0, text.data(), Length(text.size()), out.data(), n);
    return out;
}

// A character the code page can't hold becomes '?', never a look-alike.
std::string FromWide(std::wstring_view text, UINT codePage) {
    if (text.empty()) return {};
    DWORD flags = codePage == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
    const char* fallback = codePage == CP_UTF8 ? nullptr : "?";
    int n = WideCharToMultiByte(codePage, flags, text.data(), Length(text.size()), nullptr, 0, fallback, nullptr);
    std::string out(static_cast<size_t>(n > 0 ? n : 0), '\0');
    if (n > 0)
        WideCharToMultiByte(codePage, flags, text.data(), Length(text.size()), out.data(), n, fallback, nullptr);
    return out;
}

int Sign(int r) { return r < 0 ? -1 : r > 0 ? 1 : 0; }

}  // namespace

std::string Utf8ToAnsi(std::string_view utf8) { return FromWide(ToWide(utf8, CP_UTF8), CP_ACP); }

std::string AnsiToUtf8(std::string_view ansi) { return FromWide(ToWide(ansi, CP_ACP), CP_UTF8); }

std::u16string Utf8ToUtf16(std::string_view utf8) {
    std::wstring w = ToWide(utf8, CP_UTF8);
    return std::u16string(w.begin(), w.end());
}

std::string Utf16ToUtf8(std::u16string_view utf16) {
    std::wstring w(utf16.begin(), utf16.end());
    return FromWide(w, CP_UTF8);
}

int CompareAnsi(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a == b) return 0;
    int r = CompareStringA(LOCALE_USER_DEFAULT, ignoreCase ? NORM_IGNORECASE : 0, a.data(), Length(a.size()),
                           b.data(), Length(b.size()));
    if (r != 0) return r - CSTR_EQUAL;
    return Sign(a.compare(b));  // a failed call: byte order, so that sorting still ends
}

int CompareText(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a == b) return 0;
    std::wstring wa = ToWide(a, CP_UTF8);
    std::wstring wb = ToWide(b, CP_UTF8);
    int r = CompareStringW(LOCALE_USER_DEFAULT, ignoreCase ? NORM_IGNORECASE : 0, wa.data(), Length(wa.size()),
                           wb.data(), Length(wb.size()));
    if (r != 0) return r - CSTR_EQUAL;
    return Sign(a.compare(b));
}

std::string AnsiUpperCase(std::string_view ansi) {
    std::string out(ansi);
    if (!out.empty()) CharUpperBuffA(out.data(), static_cast<DWORD>(out.size()));
    return out;
}

}  // namespace platform
