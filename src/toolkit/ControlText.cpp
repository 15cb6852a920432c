#include "toolkit/ControlText.h"

#include <cmath>
#include <cstdlib>

#include "base/FormatSettings.h"

namespace toolkit {

std::string_view Trimmed(std::string_view text) {
    size_t b = text.find_first_not_of(" \t");
    if (b == std::string_view::npos) return {};
    size_t e = text.find_last_not_of(" \t");
    return text.substr(b, e - b + 1);
}

std::optional<int64_t> ReadInteger(std::string_view text, int64_t min, int64_t max) {
    text = Trimmed(text);
    bool negative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    if (text.empty() || text.size() > 19) return std::nullopt;
    int64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        if (value > (INT64_MAX - (c - '0')) / 10) return std::nullopt;
        value = value * 10 + (c - '0');
    }
    if (negative) value = -value;
    if (value < min || value > max) return std::nullopt;
    return value;
}

std::optional<bool> ReadBoolean(std::string_view text) {
    text = Trimmed(text);
    std::string lower;
    for (char c : text) lower += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    if (lower == "true" || lower == "1") return true;
    if (lower == "false" || lower == "0") return false;
    return std::nullopt;
}

std::optional<TDateTime> ReadDate(std::string_view text) {
    text = Trimmed(text);
    TDateTime d = 0;
    if (ParseIsoDate(text, d)) return d;
    if (TryStrToDate(text, d, FormatSettings())) return DateOf(d);
    return std::nullopt;
}

std::optional<double> ReadDecimal(std::string_view text) {
    std::string s(Trimmed(text));
    char sep = FormatSettings().DecimalSeparator;
    for (char& c : s)
        if (c == sep) c = '.';
    if (s.empty()) return std::nullopt;
    for (char c : s)
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+')) return std::nullopt;
    char* end = nullptr;
    double value = std::strtod(s.c_str(), &end);
    if (end != s.c_str() + s.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

}  // namespace toolkit
