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
