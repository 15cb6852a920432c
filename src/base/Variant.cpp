#include "base/Variant.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/Exceptions.h"

namespace {
[[noreturn]] void CannotConvert(const Variant& v, const char* to) {
    throw EVariantError(std::string("Could not convert variant of type (") + v.TypeName() +
                        ") into type (" + to + ")");
}

bool ParseDouble(const std::string& s, double& out) {
    const char* b = s.data();
    const char* e = s.data() + s.size();
    while (b < e && *b == ' ') ++b;
    while (e > b && e[-1] == ' ') --e;
    if (b == e) return false;
    auto r = std::from_chars(b, e, out);
    return r.ec == std::errc() && r.ptr == e;
}
}  // namespace

std::string FloatToShortest(double d) {
    char buf[64];
    auto r = std::to_chars(buf, buf + sizeof buf, d);
    return std::string(buf, r.ptr);
}

const char* Variant::TypeName() const {
    switch (type()) {
        case Type::Null: return "Null";
        case Type::Boolean: return "Boolean";
        case Type::Integer: return "Int64";
        case Type::Double: return "Double";
        case Type::Currency: return "Currency";
        case Type::Date: return "Date";
        case Type::String: return "String";
    }
    return "Unknown";
}

bool Variant::AsBoolean() const {
    switch (type()) {
        case Type::Boolean: return std::get<bool>(v_);
        case Type::Integer: return std::get<int64_t>(v_) != 0;
        case Type::Double: return std::get<double>(v_) != 0;
        case Type::Currency: return std::get<Currency>(v_).value != 0;
        case Type::String: {
            const std::string& s = std::get<std::string>(v_);
            if (s == "True" || s == "true" || s == "TRUE") return true;
            if (s == "False" || s == "false" || s == "FALSE") return false;
            double d;
            if (ParseDouble(s, d)) return d != 0;
            break;
        }
        default: break;
    }
    CannotConvert(*this, "Boolean");
}

int64_t Variant::AsInt64() const {
    switch (type()) {
        case Type::Boolean: return std::get<bool>(v_) ? -1 : 0;
        case Type::Integer: return std::get<int64_t>(v_);
        case Type::Double:
        case Type::Date: {
            double d = type() == Type::Double ? std::get<double>(v_) : std::get<DateBox>(v_).d;
            if (!std::isfinite(d) || std::fabs(d) > 9.2e18) break;
            return static_cast<int64_t>(std::nearbyint(d));
        }
        case Type::Currency: {
            int64_t raw = std::get<Currency>(v_).value;
            return static_cast<int64_t>(std::nearbyint(static_cast<double>(raw) / Currency::Scale));
        }
        case Type::String: {
            const std::string& s = std::get<std::string>(v_);
            int64_t v;
            const char* b = s.data();
            const char* e = s.data() + s.size();
            while (b < e && *b == ' ') ++b;
            while (e > b && e[-1] == ' ') --e;
            auto r = std::from_chars(b, e, v);
            if (b != e && r.ec == std::errc() && r.ptr == e) return v;
            double d;
            if (ParseDouble(s, d) && std::fabs(d) < 9.2e18) return static_cast<int64_t>(std::nearbyint(d));
            break;
        }
        default: break;
    }
    CannotConvert(*this, "Int64");
}

int Variant::AsInteger() const {
    int64_t v = AsInt64();
    if (v < std::numeric_limits<int>::min() || v > std::numeric_limits<int>::max())
        CannotConvert(*this, "Integer");
    return static_cast<int>(v);
}

double Variant::AsDouble() const {
    switch (type()) {
        case Type::Boolean: return std::get<bool>(v_) ? -1.0 : 0.0;
        case Type::Integer: return static_cast<double>(std::get<int64_t>(v_));
        case Type::Double: return std::get<double>(v_);
        case Type::Currency: return std::get<Currency>(v_).ToDouble();
        case Type::Date: return std::get<DateBox>(v_).d;
        case Type::String: {
            double d;
            if (ParseDouble(std::get<std::string>(v_), d)) return d;
            break;
        }
        default: break;
    }
    CannotConvert(*this, "Double");
}

Currency Variant::AsCurrency() const {
    if (type() == Type::Currency) return std::get<Currency>(v_);
    if (type() == Type::Integer) return Currency::FromInt(std::get<int64_t>(v_));
    return Currency::FromDouble(AsDouble());
}

TDateTime Variant::AsDateTime() const {
    switch (type()) {
        case Type::Date: return std::get<DateBox>(v_).d;
        case Type::String: {
            try {
                return StrToDateTime(std::get<std::string>(v_));
            } catch (const EConvertError&) {
                break;
            }
        }
        case Type::Null: break;
        default: return AsDouble();
    }
    CannotConvert(*this, "Date");
}

std::string Variant::AsString() const {
    switch (type()) {
        case Type::Null: return "";
        case Type::Boolean: return std::get<bool>(v_) ? "True" : "False";
        case Type::Integer: return std::to_string(std::get<int64_t>(v_));
        case Type::Double: return FloatToShortest(std::get<double>(v_));
        case Type::Currency: return std::get<Currency>(v_).ToString();
        case Type::Date: return DateTimeToStr(std::get<DateBox>(v_).d);
        case Type::String: return std::get<std::string>(v_);
    }
    return "";
}

bool operator==(const Variant& a, const Variant& b) { return a.v_ == b.v_; }
