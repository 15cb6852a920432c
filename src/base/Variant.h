#pragma once
// A value of any of the kinds the tables and the object models exchange, or null.
#include <cstdint>
#include <string>
#include <variant>

#include "base/Currency.h"
#include "base/DateTime.h"

class Variant {
public:
    enum class Type { Null, Boolean, Integer, Double, Currency, Date, String };

    Variant() = default;  // null
    Variant(bool v) : v_(v) {}
    Variant(int v) : v_(static_cast<int64_t>(v)) {}
    Variant(int64_t v) : v_(v) {}
    Variant(double v) : v_(v) {}
    Variant(Currency v) : v_(v) {}
    Variant(const char* v) : v_(std::string(v)) {}
    Variant(std::string v) : v_(std::move(v)) {}
    static Variant FromDate(TDateTime d) {
        Variant r;
        r.v_ = DateBox{d};
        return r;
    }
    static Variant Null() { return Variant(); }

    Type type() const { return static_cast<Type>(v_.index()); }
    bool IsNull() const { return type() == Type::Null; }
    const char* TypeName() const;

    // Conversions raise EVariantError when the value can't be taken as the kind asked.
    bool AsBoolean() const;
    int64_t AsInt64() const;
    int AsInteger() const;
    double AsDouble() const;
    Currency AsCurrency() const;
    TDateTime AsDateTime() const;
    std::string AsString() const;  // null gives ""

    friend bool operator==(const Variant& a, const Variant& b);

private:
    struct DateBox {
        TDateTime d;
        friend bool operator==(DateBox, DateBox) = default;
    };
    std::variant<std::monostate, bool, int64_t, double, Currency, DateBox, std::string> v_;
};

// The shortest decimal text that reads back as the same double ("1.5", "0.1", "1e+20").
std::string FloatToShortest(double d);
