#include "toolkit/GridSummary.h"

#include <cmath>
#include <cstdio>

#include "base/FormatSettings.h"
#include "base/Variant.h"
#include "toolkit/DBGrid.h"

// ---- number formats -----------------------------------------------------------------------------

namespace {

// Splits a format into its sections at ";" outside quotes.
std::vector<std::string> Sections(const std::string& format) {
    std::vector<std::string> out(1);
    char quote = 0;
    for (char c : format) {
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == ';') {
            out.emplace_back();
            continue;
        }
        out.back() += c;
    }
    return out;
}

struct Shape {
    std::string prefix, suffix;  // literal text before the first and after the last placeholder
    int minInt = 0;              // digits always shown before the point
    int minDec = 0, maxDec = 0;  // digits after the point: always shown, at most
    bool thousands = false;
};

Shape ReadShape(const std::string& section) {
    Shape s;
    bool seenDigit = false, afterPoint = false, seenZero = false;
    int intPlaces = 0, decPlaces = 0;
    char quote = 0;
    for (char c : section) {
        std::string& literal = seenDigit ? s.suffix : s.prefix;
        if (quote) {
            if (c == quote) quote = 0;
            else literal += c;
            continue;
        }
        switch (c) {
            case '"':
            case '\'': quote = c; break;
            case '0':
            case '#':
                seenDigit = true;
                s.suffix.clear();  // text between placeholders is not kept
                if (afterPoint) {
                    ++decPlaces;
                    if (c == '0') s.minDec = decPlaces;
                } else {
                    if (c == '0') seenZero = true;
                    ++intPlaces;
                    if (seenZero) ++s.minInt;
                }
                break;
            case '.':
                if (!afterPoint) {
                    afterPoint = true;
                    seenDigit = true;
                } else {
                    literal += c;
                }
                break;
            case ',':
                if (!afterPoint) s.thousands = true;
                else literal += c;
                break;
            default: literal += c;
        }
    }
    s.maxDec = decPlaces;
    return s;
}

}  // namespace

std::string FormatFloat(const std::string& format, double value) {
    if (format.empty()) return FloatToShortest(value);
    if (!std::isfinite(value)) return FloatToShortest(value);
    std::vector<std::string> sections = Sections(format);
    const std::string* section = &sections[0];
    bool ownSign = false;
    if (value == 0 && sections.size() >= 3 && !sections[2].empty()) {
        section = &sections[2];
    } else if (value < 0 && sections.size() >= 2 && !sections[1].empty()) {
        section = &sections[1];
        ownSign = true;
    }
    Shape shape = ReadShape(*section);

    char buf[400];
    std::snprintf(buf, sizeof buf, "%.*f", shape.maxDec, std::fabs(value));
    std::string digits = buf;
    std::string intPart = digits, decPart;
    if (auto dot = digits.find('.'); dot != std::string::npos) {
        intPart = digits.substr(0, dot);
        decPart = digits.substr(dot + 1);
    }
    while (static_cast<int>(decPart.size()) > shape.minDec && !decPart.empty() && decPart.back() == '0') decPart.pop_back();
    if (intPart == "0" && shape.minInt == 0) intPart.clear();
    if (static_cast<int>(intPart.size()) < shape.minInt)
        intPart = std::string(static_cast<size_t>(shape.minInt) - intPart.size(), '0') + intPart;
    std::string number;
    for (size_t i = 0; i < intPart.size(); ++i) {
        if (shape.thousands && i > 0 && (intPart.size() - i) % 3 == 0) number += ',';
        number += intPart[i];
    }
    if (!decPart.empty()) number += FormatSettings().DecimalSeparator + decPart;
    bool nonZero = number.find_first_of("123456789") != std::string::npos;
    std::string sign = value < 0 && !ownSign && nonZero ? "-" : "";
    return sign + shape.prefix + number + shape.suffix;
}

// ---- the view's summaries -----------------------------------------------------------------------

Variant TcxGridDBTableView::SummaryValue(const TcxGridDBTableSummaryItem& item, int first, int count) const {
    if (!item.Column || item.Kind == TcxSummaryKind::skNone) return Variant();
    TField* f = FieldOf(*item.Column);
    if (!f) return Variant();
    TdxMemData* t = DataSet();
    const int fi = f->Index();
    const bool currency = f->DataType() == TFieldType::ftCurrency;
    int64_t whole = 0;  // currency in ten-thousandths and integers add up exactly
    double sum = 0;
    bool fractions = currency;
    int values = 0;
    int low = -1, high = -1;  // the rows of the least and greatest values
    for (int i = first; i < first + count; ++i) {
        int row = RecordRow(i);
        if (row < 0) continue;
        const TCell c = t->Cell(row, fi);
        if (std::holds_alternative<std::monostate>(c)) continue;
        ++values;
        if (const auto* n = std::get_if<int64_t>(&c)) whole += *n;
        else if (const auto* d = std::get_if<double>(&c)) {
            sum += *d;
            fractions = true;
        }
        if (low < 0 || t->CompareRowCells(*f, row, low, true) < 0) low = row;
        if (high < 0 || t->CompareRowCells(*f, row, high, true) > 0) high = row;
    }
    auto total = [&]() -> double { return (currency ? static_cast<double>(whole) / 10000.0 : static_cast<double>(whole)) + sum; };
    switch (item.Kind) {
        case TcxSummaryKind::skCount: return Variant(values);
        case TcxSummaryKind::skSum: return fractions ? Variant(total()) : Variant(whole);
        case TcxSummaryKind::skAverage: return values ? Variant(total() / values) : Variant();
        case TcxSummaryKind::skMin: return low >= 0 ? t->RowValue(low, *f) : Variant();
        case TcxSummaryKind::skMax: return high >= 0 ? t->RowValue(high, *f) : Variant();
        case TcxSummaryKind::skNone: break;
    }
    return Variant();
}

std::string TcxGridDBTableView::SummaryText(const TcxGridDBTableSummaryItem& item, const Variant& value) const {
    if (value.IsNull()) return std::string();
    bool number = value.type() == Variant::Type::Integer || value.type() == Variant::Type::Double ||
                  value.type() == Variant::Type::Currency;
    if (!item.Format.empty() && number) return FormatFloat(item.Format, value.AsDouble());
    if (item.Kind == TcxSummaryKind::skCount) return value.AsString();
    TField* f = item.Column ? FieldOf(*item.Column) : nullptr;
    if (!f) return value.AsString();
    try {
        return f->CellDisplayText(f->VariantToCell(value));
    } catch (const std::exception&) {
        return value.AsString();  // a total beyond the field's range shows as a plain number
    }
}

Variant TcxGridDBTableView::FooterSummaryValue(int item) const {
    const auto& items = Summary.FooterSummaryItems;
    if (item < 0 || item >= static_cast<int>(items.size())) return Variant();
    return SummaryValue(items[static_cast<size_t>(item)], 0, RecordCount());
}

std::string TcxGridDBTableView::FooterSummaryText(int item) const {
    const auto& items = Summary.FooterSummaryItems;
    if (item < 0 || item >= static_cast<int>(items.size())) return std::string();
    return SummaryText(items[static_cast<size_t>(item)], FooterSummaryValue(item));
}

Variant TcxGridDBTableView::GroupSummaryValue(int group, int item) const {
    const auto& items = Summary.DefaultGroupSummaryItems;
    if (item < 0 || item >= static_cast<int>(items.size()) || group < 0 || group >= GroupCount()) return Variant();
    TcxGridGroup g = Groups(group);
    return SummaryValue(items[static_cast<size_t>(item)], g.FirstRecord, g.RecordCount);
}

std::string TcxGridDBTableView::GroupSummaryText(int group, int item) const {
    const auto& items = Summary.DefaultGroupSummaryItems;
    if (item < 0 || item >= static_cast<int>(items.size())) return std::string();
    return SummaryText(items[static_cast<size_t>(item)], GroupSummaryValue(group, item));
}
