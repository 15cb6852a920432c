#pragma once
// Text services of the platform: the machine's ANSI code page, in which table text is held, and
// the user locale's collation of that text. Program strings are UTF-8.
#include <string>
#include <string_view>

namespace platform {

// Program text to the single-byte code page. A character the code page can't hold becomes '?'.
std::string Utf8ToAnsi(std::string_view utf8);
std::string AnsiToUtf8(std::string_view ansi);

std::u16string Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

// Three-way comparison of two single-byte texts by the user locale's collation (<0, 0, >0).
int CompareAnsi(std::string_view a, std::string_view b, bool ignoreCase);
// The same for program (UTF-8) text.
int CompareText(std::string_view a, std::string_view b, bool ignoreCase);

// Upper case of single-byte text in the code page (for case-blind matching of prefixes).
std::string AnsiUpperCase(std::string_view ansi);

}  // namespace platform
