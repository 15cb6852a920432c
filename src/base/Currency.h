#pragma once
// Currency: a signed 64-bit count of ten-thousandths. Every conversion and sum is checked: one
// that leaves the range raises EConvertError rather than wrapping.
#include <cstdint>
#include <string>

struct Currency {
    int64_t value = 0;  // ten-thousandths

    static constexpr int64_t Scale = 10000;
    static Currency FromRaw(int64_t raw) { return Currency{raw}; }
    // Rounds to the nearest ten-thousandth, halves to even, as the hardware conversion does.
    static Currency FromDouble(double d);
    // Whole units; EConvertError beyond the range (about 922 trillion).
    static Currency FromInt(int64_t units);
    double ToDouble() const { return static_cast<double>(value) / Scale; }
    std::string ToString() const;  // shortest decimal form, "." as separator

    friend bool operator==(Currency a, Currency b) = default;
    friend auto operator<=>(Currency a, Currency b) = default;
    // Sums and differences beyond the range raise EConvertError.
    friend Currency operator+(Currency a, Currency b);
    friend Currency operator-(Currency a, Currency b);
    Currency& operator+=(Currency b) { return *this = *this + b; }
};
