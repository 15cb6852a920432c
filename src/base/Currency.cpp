#include "base/Currency.h"

#include <cmath>
#include <limits>

#include "base/Exceptions.h"

Currency Currency::FromDouble(double d) {
    double scaled = std::nearbyint(d * Scale);  // default rounding mode: to nearest, ties to even
    if (!std::isfinite(scaled) || scaled >= 9.2233720368547758e18 || scaled < -9.2233720368547758e18)
        throw EConvertError("Floating point value out of Currency range");
    return Currency{static_cast<int64_t>(scaled)};
}

namespace {
[[noreturn]] void OutOfRange() { throw EConvertError("Currency value out of range"); }
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
}  // namespace

Currency Currency::FromInt(int64_t units) {
    if (units > kMax / Scale || units < kMin / Scale) OutOfRange();
    return Currency{units * Scale};
}

Currency operator+(Currency a, Currency b) {
    if ((b.value > 0 && a.value > kMax - b.value) || (b.value < 0 && a.value < kMin - b.value)) OutOfRange();
    return Currency{a.value + b.value};
}

Currency operator-(Currency a, Currency b) {
    if ((b.value < 0 && a.value > kMax + b.value) || (b.value > 0 && a.value < kMin + b.value)) OutOfRange();
    return Currency{a.value - b.value};
}

std::string Currency::ToString() const {
    uint64_t mag = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    std::string s = std::to_string(mag / Scale);
    uint64_t frac = mag % Scale;
    if (frac) {
        std::string f = std::to_string(frac + Scale).substr(1);
        while (!f.empty() && f.back() == '0') f.pop_back();
        s += "." + f;
    }
    return value < 0 ? "-" + s : s;
}
