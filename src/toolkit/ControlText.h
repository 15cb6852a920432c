#pragma once
// Readings of the texts that users type and scripts pass: integers, truth values, dates,
// decimal numbers. Each gives nothing for a text it can't read.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/DateTime.h"

namespace toolkit {

// Blanks at both ends removed.
std::string_view Trimmed(std::string_view text);
// An optional sign and decimal digits, blanks around allowed, within the range given.
std::optional<int64_t> ReadInteger(std::string_view text, int64_t min, int64_t max);
// "true", "false", "1", "0", in any case.
std::optional<bool> ReadBoolean(std::string_view text);
// "YYYY-MM-DD", or a date in the short date form of the format settings.
std::optional<TDateTime> ReadDate(std::string_view text);
// A decimal number with "." or the settings' decimal separator.
std::optional<double> ReadDecimal(std::string_view text);

}  // namespace toolkit
