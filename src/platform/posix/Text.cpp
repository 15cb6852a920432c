#include "platform/Text.h"

#include "base/Utf8.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <array>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace platform {
namespace {

// Windows-1252: bytes 0x80..0x9F; the five bytes the code page leaves undefined map to the C1
// control of the same number, as the system's own conversion does.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t AnsiToChar(unsigned char b) {
    if (b >= 0x80 && b <= 0x9F) return kHigh[b - 0x80];
    return b;
}

int CharToAnsi(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<int>(c);
    for (size_t i = 0; i < kHigh.size(); ++i)
        if (kHigh[i] == c) return static_cast<int>(0x80 + i);
    return -1;
}

using base::AppendUtf8;
using base::NextUtf8;

// The user locale's collators, one that weighs case and one that doesn't. A POSIX or C locale
// collates as the root locale, not in byte order.
class Collators {
public:
    Collators() {
        icu::Locale loc = icu::Locale::getDefault();
        std::string name = loc.getName();
        if (name.empty() || name == "c" || name == "C" || name.rfind("en_US_POSIX", 0) == 0)
            loc = icu::Locale::getRoot();
        UErrorCode st = U_ZERO_ERROR;
        exact_.reset(icu::Collator::createInstance(loc, st));
        if (U_FAILURE(st)) exact_.reset();
        st = U_ZERO_ERROR;
        blind_.reset(icu::Collator::createInstance(loc, st));
        if (U_FAILURE(st)) {
            blind_.reset();
        } else {
            blind_->setStrength(icu::Collator::SECONDARY);
        }
    }
    icu::Collator* Get(bool ignoreCase) const { return ignoreCase ? blind_.get() : exact_.get(); }

private:
    std::unique_ptr<icu::Collator> exact_;
    std::unique_ptr<icu::Collator> blind_;
};

const Collators& TheCollators() {
    static Collators c;
    return c;
}

icu::UnicodeString FromAnsi(std::string_view a) {
    icu::UnicodeString u;
    for (char ch : a) u.append(static_cast<UChar>(AnsiToChar(static_cast<unsigned char>(ch))));
    return u;
}

int Compare(const icu::UnicodeString& a, const icu::UnicodeString& b, bool ignoreCase) {
    icu::Collator* c = TheCollators().Get(ignoreCase);
    if (c) {
        UErrorCode st = U_ZERO_ERROR;
        UCollationResult r = c->compare(a, b, st);
        if (U_SUCCESS(st)) {
            if (r != UCOL_EQUAL) return r == UCOL_LESS ? -1 : 1;
            return 0;
        }
    }
    int r = ignoreCase ? a.caseCompare(b, U_FOLD_CASE_DEFAULT) : a.compare(b);
    return r < 0 ? -1 : r > 0 ? 1 : 0;
}

}  // namespace

std::string Utf8ToAnsi(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (size_t i = 0; i < utf8.size();) {
        int b = CharToAnsi(NextUtf8(utf8, i));
        out += static_cast<char>(b < 0 ? '?' : b);
    }
    return out;
}

std::string AnsiToUtf8(std::string_view ansi) {
    std::string out;
    out.reserve(ansi.size());
    for (char ch : ansi) AppendUtf8(out, AnsiToChar(static_cast<unsigned char>(ch)));
    return out;
}

std::u16string Utf8ToUtf16(std::string_view utf8) {
    std::u16string out;
    for (size_t i = 0; i < utf8.size();) {
        char32_t cp = NextUtf8(utf8, i);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
    }
    return out;
}

std::string Utf16ToUtf8(std::u16string_view s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        char32_t c = s[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (s[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD;
        }
        AppendUtf8(out, c);
    }
    return out;
}

int CompareAnsi(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a == b) return 0;  // the same bytes collate equal
    // Short texts convert on the stack; the collator compares UTF-16 buffers directly.
    constexpr size_t kStack = 256;
    if (a.size() <= kStack && b.size() <= kStack) {
        if (icu::Collator* c = TheCollators().Get(ignoreCase)) {
            UChar ua[kStack], ub[kStack];
            for (size_t i = 0; i < a.size(); ++i) ua[i] = AnsiToChar(static_cast<unsigned char>(a[i]));
            for (size_t i = 0; i < b.size(); ++i) ub[i] = AnsiToChar(static_cast<unsigned char>(b[i]));
            UErrorCode st = U_ZERO_ERROR;
            UCollationResult r = c->compare(ua, static_cast<int32_t>(a.size()), ub,
                                            static_cast<int32_t>(b.size()), st);
            if (U_SUCCESS(st)) return r == UCOL_LESS ? -1 : r == UCOL_GREATER ? 1 : 0;
        }
    }
    return Compare(FromAnsi(a), FromAnsi(b), ignoreCase);
}

int CompareText(std::string_view a, std::string_view b, bool ignoreCase) {
    return Compare(icu::UnicodeString::fromUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size()))),
                   icu::UnicodeString::fromUTF8(icu::StringPiece(b.data(), static_cast<int32_t>(b.size()))),
                   ignoreCase);
}

std::string AnsiUpperCase(std::string_view ansi) {
    std::string out;
    out.reserve(ansi.size());
    for (char ch : ansi) {
        char16_t u = AnsiToChar(static_cast<unsigned char>(ch));
        int up = CharToAnsi(static_cast<char32_t>(u_toupper(u)));
        out += up < 0 ? ch : static_cast<char>(up);
    }
    return out;
}

}  // namespace platform
