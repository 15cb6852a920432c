#pragma once
// Currency: a signed 64-bit count of ten-thousandths.
#include <cstdint>
#include <string>

struct Currency {
    int64_t value = 0;  // ten-thousandths

    static constexpr int64_t Scale = 10000;
    static Currency FromRaw(int64_t raw) { return Currency{raw}; }
    // Rounds to the nearest ten-thousandth, halves to even, as the hardware conversion does.
    static Currency FromDouble(double d);
    static Currency FromInt(int64_t units) { return Currency{units * Scale}; }
    double ToDouble() const { return static_cast<double>(value) / Scale; }
    std::string ToString() const;  // shortest decimal form, "." as separator

    friend bool operator==(Currency a, Currency b) = default;
    friend auto operator<=>(Currency a, Currency b) = default;
    friend Currency operator+(Currency a, Currency b) { return {a.value + b.value}; }
    friend Currency operator-(Currency a, Currency b) { return {a.value - b.value}; }
    Currency& operator+=(Currency b) {
        value += b.value;
        return *this;
    }
};
