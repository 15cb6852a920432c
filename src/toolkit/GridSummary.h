#pragma once
// The totals a grid view shows under its records (the footer) and under each group (the group
// footers): a kind of summary over a column's values, shown through a number format. They are
// worked out from the records the view shows when they are drawn or read, so they follow the
// filter and the grouping, and cost nothing until then.
#include <string>
#include <vector>

class TcxGridDBColumn;

enum class TcxSummaryKind { skNone, skSum, skMin, skMax, skCount, skAverage };

struct TcxGridDBTableSummaryItem {
    TcxGridDBColumn* Column = nullptr;
    TcxSummaryKind Kind = TcxSummaryKind::skSum;
    // A number format ("####.##"); empty: the column's field shows the value as it shows its own.
    std::string Format;
};

struct TcxDataSummary {
    std::vector<TcxGridDBTableSummaryItem> FooterSummaryItems;
    std::vector<TcxGridDBTableSummaryItem> DefaultGroupSummaryItems;
};

// A number through a format of digit placeholders: "0" a digit always shown, "#" a digit shown
// when it counts, "." the decimal point, "," thousands grouping; other characters (and text in
// quotes) stand as they are. Up to three sections, "positive;negative;zero". So "####.##" gives
// "12.5" for 12.5, "" for 0, and "#0.00" gives "12.50".
std::string FormatFloat(const std::string& format, double value);
