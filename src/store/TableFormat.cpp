// The table file's values and header, as the reader and the writer of the tables share them.
#include "store/TableFormat.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "base/Exceptions.h"
#include "platform/Text.h"

namespace tableformat {


// Byte width of a fixed-width value, as the descriptor's Size gives it.
int FixedWidth(TFieldType t) {
    switch (t) {
        case TFieldType::ftShortint:
        case TFieldType::ftByte: return 1;
        case TFieldType::ftSmallint:
        case TFieldType::ftWord:
        case TFieldType::ftBoolean: return 2;
        case TFieldType::ftInteger:
        case TFieldType::ftAutoInc:
        case TFieldType::ftLongWord:
        case TFieldType::ftDate:
        case TFieldType::ftTime: return 4;
        default: return 8;  // Float, Currency, BCD, DateTime, Largeint, TimeStamp, FMTBcd, Extended
    }
}

bool IsStringKind(TFieldType t) {
    return t == TFieldType::ftString || t == TFieldType::ftGuid || t == TFieldType::ftWideString;
}

bool IsBlobKind(TFieldType t) { return IsBlobType(t); }

bool IsOrdinalKind(TFieldType t) {
    switch (t) {
        case TFieldType::ftSmallint:
        case TFieldType::ftInteger:
        case TFieldType::ftWord:
        case TFieldType::ftBoolean:
        case TFieldType::ftAutoInc:
        case TFieldType::ftLargeint:
        case TFieldType::ftLongWord:
        case TFieldType::ftShortint:
        case TFieldType::ftByte: return true;
        default: return false;
    }
}

namespace {

// The numbers a field of an ordinal kind holds.
std::pair<int64_t, int64_t> OrdinalRange(TFieldType t) {
    return t == TFieldType::ftBoolean ? std::pair<int64_t, int64_t>{0, 1} : IntegerRange(t);
}

// UTF-16 text as the file holds it, as UTF-8.
std::string WideBytesToUtf8(const std::string& bytes) {
    std::u16string w(bytes.size() / 2, u'\0');
    std::memcpy(w.data(), bytes.data(), w.size() * 2);
    return platform::Utf16ToUtf8(w);
}

}  // namespace




namespace {

// The 80-bit extended format, for old files that stored it at its full width.
double Extended80ToDouble(const unsigned char* b) {
    uint64_t mant;
    std::memcpy(&mant, b, 8);
    uint16_t se;
    std::memcpy(&se, b + 8, 2);
    int exp = se & 0x7FFF;
    bool neg = (se & 0x8000) != 0;
    if (exp == 0 && mant == 0) return neg ? -0.0 : 0.0;
    if (exp == 0x7FFF) return std::nan("");
    double v = std::ldexp(static_cast<double>(mant), exp - 16383 - 63);
    return neg ? -v : v;
}

}  // namespace

// A currency value as the file's double holds it, in ten-thousandths; none when it is not a
// number or lies beyond what a currency holds.
std::optional<int64_t> CurrencyOfStored(double v) {
    if (!std::isfinite(v) || std::fabs(v) > 9.2e14) return std::nullopt;
    return Currency::FromDouble(v).value;
}

// A date and time from the file's milliseconds since the year 1: none when it is not a number.
// Taken as it stands, in doubles, however far beyond the calendar it lies: only its use (its
// split into a date) can fail.
std::optional<double> DateTimeOfStored(double ms) {
    if (!std::isfinite(ms)) return std::nullopt;
    const double plain = ms / MSecsPerDay - DateDelta;
    if (!SplittableDate(plain)) return plain;  // no calendar day: the writer turns it back the same way
    double day = std::floor(ms / MSecsPerDay);
    double msOfDay = std::nearbyint(ms - day * MSecsPerDay);
    if (msOfDay >= MSecsPerDay) {
        msOfDay -= MSecsPerDay;
        day += 1;
    }
    const double days = day - DateDelta;
    const double frac = msOfDay / MSecsPerDay;
    return days < 0 ? days - frac : days + frac;
}



// Reads the version and the descriptors. A short read or an unknown kind gives Damaged; a name
// longer than 255 bytes raises.
HeaderResult ReadHeader(Reader& r, Header& h, const std::string& tableName) {
    std::string magic;
    if (r.AtEnd()) return HeaderResult::Empty;
    if (!r.Bytes(3, magic)) return HeaderResult::Damaged;
    if (magic == "Ver") {
        if (!r.Get(h.version)) return HeaderResult::Damaged;
        if (!(h.version >= 1.0)) h.version = 1.0;  // below 1.0, and no number at all, count as 1.0
    } else {
        r.Seek(0);
        h.version = 0;
    }
    int32_t count;
    if (!r.Get(count)) return HeaderResult::Damaged;
    if (count == 0 && r.AtEnd()) return HeaderResult::Empty;
    if (count <= 0) return HeaderResult::Damaged;
    for (int32_t i = 0; i < count; ++i) {
        Descriptor d;
        int16_t code, nameLength;
        if (!r.Get(d.size) || !r.Get(code) || !r.Get(nameLength)) return HeaderResult::Damaged;
        if (nameLength > 255) throw EDatabaseError(tableName + ": Invalid field name length " + std::to_string(nameLength));
        if (nameLength < 1) return HeaderResult::Damaged;
        std::string raw;
        if (!r.Bytes(static_cast<size_t>(nameLength), raw)) return HeaderResult::Damaged;
        size_t zero = raw.find('\0');
        if (zero != std::string::npos) raw.resize(zero);
        if (code < 1 || code > 29) return HeaderResult::Damaged;
        d.type = static_cast<TFieldType>(code);
        if (d.size < 0 || (!IsStringKind(d.type) && !IsBlobKind(d.type) && d.size > 64))
            return HeaderResult::Damaged;
        d.name = platform::AnsiToUtf8(raw);
        h.descriptors.push_back(std::move(d));
    }
    return HeaderResult::Ok;
}

// The declared size of a string field from its descriptor: older files count the terminator.
int DeclaredSize(const Descriptor& d, double version) {
    if (d.type == TFieldType::ftString || d.type == TFieldType::ftGuid) {
        if (version < 1.905) return std::max(0, d.size - 1);
    } else if (d.type == TFieldType::ftWideString) {
        if (version < 1.85) return std::max(0, d.size - 1);
    }
    return IsStringKind(d.type) ? d.size : 0;
}

// Reads one value by its descriptor into a cell of the descriptor's own kind. False on a short
// or impossible read.
bool ReadValue(Reader& r, const Descriptor& d, double version, TCell& cell) {
    cell = TCell{};
    TFieldType t = d.type;
    if (IsBlobKind(t)) {
        int32_t len;
        if (!r.Get(len) || len < 0) return false;
        std::string bytes;
        if (!r.Bytes(static_cast<size_t>(len), bytes)) return false;
        if (len == 0) return true;
        if (t == TFieldType::ftWideMemo) cell = WideBytesToUtf8(bytes);
        else cell = std::move(bytes);
        return true;
    }
    if (IsStringKind(t)) {
        bool wide = t == TFieldType::ftWideString;
        std::string bytes;
        if (version < 1.85) {
            // No flag; the length counts a terminator, and below 2 there is no value.
            int32_t len;
            if (!r.Get(len) || len < 0) return false;
            if (len < 2) {
                return r.Skip(static_cast<size_t>(len) * (wide ? 2 : 1));
            }
            if (wide && !r.Skip(1)) return false;
            if (!r.Bytes(static_cast<size_t>(len) * (wide ? 2 : 1), bytes)) return false;
            bytes.resize(bytes.size() - (wide ? 2 : 1));
        } else {
            uint8_t flag;
            if (!r.Get(flag)) return false;
            if (flag == 0) return true;
            int32_t len;
            if (!r.Get(len) || len < 0) return false;
            if (!r.Bytes(static_cast<size_t>(len) * (wide ? 2 : 1), bytes)) return false;
        }
        if (wide) cell = WideBytesToUtf8(bytes);
        else cell = std::move(bytes);
        return true;
    }
    // Fixed width: a flag byte, then the value at the descriptor's width. Version 0 has no flag
    // on ordinal values.
    bool hasValue = true;
    if (!(version == 0 && IsOrdinalKind(t))) {
        uint8_t flag;
        if (!r.Get(flag)) return false;
        hasValue = flag != 0;
    }
    size_t width = d.size > 0 ? static_cast<size_t>(d.size) : static_cast<size_t>(FixedWidth(t));
    std::string b;
    if (!r.Bytes(width, b)) return false;
    if (!hasValue) return true;
    const auto* p = reinterpret_cast<const unsigned char*>(b.data());
    auto signedInt = [&]() -> int64_t {
        uint64_t u = 0;
        size_t n = std::min<size_t>(width, 8);
        for (size_t i = 0; i < n; ++i) u |= static_cast<uint64_t>(p[i]) << (8 * i);
        if (n < 8 && (u >> (8 * n - 1)) & 1) u |= ~uint64_t{0} << (8 * n);
        return static_cast<int64_t>(u);
    };
    auto unsignedInt = [&]() -> int64_t {
        uint64_t u = 0;
        size_t n = std::min<size_t>(width, 8);
        for (size_t i = 0; i < n; ++i) u |= static_cast<uint64_t>(p[i]) << (8 * i);
        return static_cast<int64_t>(u);
    };
    auto real = [&]() -> double {
        if (width == 10) return Extended80ToDouble(p);
        if (width == 4) {
            float f;
            std::memcpy(&f, p, 4);
            return f;
        }
        double v = 0;
        if (width >= 8) std::memcpy(&v, p, 8);
        return v;
    };
    switch (t) {
        case TFieldType::ftWord:
        case TFieldType::ftLongWord:
        case TFieldType::ftByte: cell = unsignedInt(); break;
        case TFieldType::ftBoolean: cell = int64_t{unsignedInt() != 0 ? 1 : 0}; break;
        case TFieldType::ftCurrency: {
            const std::optional<int64_t> v = CurrencyOfStored(real());
            if (v) cell = *v;  // otherwise no value we can hold
            break;
        }
        case TFieldType::ftDate: {
            int32_t days = static_cast<int32_t>(signedInt());
            cell = TimeStampToDateTime({days, 0});
            break;
        }
        case TFieldType::ftTime: {
            int64_t ms = signedInt();
            cell = static_cast<double>(ms) / MSecsPerDay;
            break;
        }
        case TFieldType::ftDateTime:
        case TFieldType::ftTimeStamp: {
            const std::optional<double> v = DateTimeOfStored(real());
            if (v) cell = *v;
            break;
        }
        case TFieldType::ftFloat:
        case TFieldType::ftBCD:
        case TFieldType::ftFMTBcd:
        case TFieldType::ftExtended: {
            double v = real();
            if (!std::isfinite(v)) return true;
            cell = v;
            break;
        }
        default: cell = signedInt(); break;
    }
    return true;
}

// A value read in the file's kind, put into the table field's kind.
TCell Convert(const Descriptor& d, TCell cell, const TField& f) {
    if (std::holds_alternative<std::monostate>(cell)) return cell;
    if (f.DataType() == d.type) {
        if (auto* i = std::get_if<int64_t>(&cell); i && IsOrdinalKind(f.DataType())) {
            // Read at the descriptor's width, which may be wider than the kind: a number the
            // field can't hold gives no value.
            const auto [lo, hi] = OrdinalRange(f.DataType());
            return *i < lo || *i > hi ? TCell{} : cell;
        }
        if (auto* s = std::get_if<std::string>(&cell)) {
            // Text longer than the field keeps its first Size bytes (characters for wide text).
            if (IsStringKind(f.DataType()) && f.DataType() != TFieldType::ftWideString &&
                s->size() > static_cast<size_t>(f.Size()))
                s->resize(static_cast<size_t>(f.Size()));
            else if (f.DataType() == TFieldType::ftWideString)
                return f.VariantToCell(Variant(*s));
        }
        return cell;
    }
    // Another kind under the same name: convert by value, or leave the field without one.
    try {
        Variant v;
        if (auto* s = std::get_if<std::string>(&cell)) {
            bool single = d.type == TFieldType::ftString || d.type == TFieldType::ftGuid ||
                          d.type == TFieldType::ftMemo || d.type == TFieldType::ftFmtMemo;
            v = Variant(single ? platform::AnsiToUtf8(*s) : *s);
        } else if (auto* i = std::get_if<int64_t>(&cell)) {
            if (d.type == TFieldType::ftCurrency) v = Variant(Currency::FromRaw(*i));
            else if (d.type == TFieldType::ftBoolean) v = Variant(*i != 0);
            else v = Variant(*i);
        } else {
            double x = std::get<double>(cell);
            bool date = d.type == TFieldType::ftDate || d.type == TFieldType::ftTime ||
                        d.type == TFieldType::ftDateTime || d.type == TFieldType::ftTimeStamp;
            v = date ? Variant::FromDate(x) : Variant(x);
        }
        return f.VariantToCell(v);
    } catch (const Exception&) {
        return TCell{};
    }
}

void WriteDescriptor(Writer& w, const TField& f) {
    int32_t size = IsStringKind(f.DataType()) ? f.Size() : IsBlobKind(f.DataType()) ? 0 : FixedWidth(f.DataType());
    std::string name = platform::Utf8ToAnsi(f.FieldName());
    if (name.size() > 254) name.resize(254);
    w.Put(size);
    w.Put(static_cast<int16_t>(f.DataType()));
    w.Put(static_cast<int16_t>(name.size() + 1));
    w.Bytes(name.data(), name.size());
    w.Zeros(1);
}

}  // namespace tableformat
