#pragma once
// UTF-8 one code point at a time, for the few places that walk text by hand (the system's code
// page conversions, the workbook's XML escapes). Decoding never reads past the text: a broken,
// overlong or cut-short sequence, a surrogate or a value beyond U+10FFFF decodes as U+FFFD and
// takes one byte, so the caller resynchronises at the next one.
#include <cstddef>
#include <string>
#include <string_view>

namespace base {

inline void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// The code point at text[i] (i < text.size()) and its length in bytes.
inline char32_t DecodeUtf8(std::string_view text, size_t i, size_t& length) {
    auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    unsigned char b0 = byte(i);
    length = 1;
    if (b0 < 0x80) return b0;
    int need = (b0 >= 0xF0 && b0 <= 0xF4) ? 3 : (b0 >= 0xE0 && b0 <= 0xEF) ? 2 : (b0 >= 0xC2 && b0 <= 0xDF) ? 1 : -1;
    if (need < 0 || i + static_cast<size_t>(need) >= text.size()) return 0xFFFD;
    char32_t cp = b0 & (need == 1 ? 0x1F : need == 2 ? 0x0F : 0x07);
    for (int k = 1; k <= need; ++k) {
        unsigned char b = byte(i + static_cast<size_t>(k));
        if ((b & 0xC0) != 0x80) return 0xFFFD;
        cp = (cp << 6) | (b & 0x3F);
    }
    static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMin[need] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0xFFFD;
    length = static_cast<size_t>(need) + 1;
    return cp;
}

// The code point at text[i], moving i past it.
inline char32_t NextUtf8(std::string_view text, size_t& i) {
    size_t length = 1;
    char32_t cp = DecodeUtf8(text, i, length);
    i += length;
    return cp;
}

}  // namespace base
