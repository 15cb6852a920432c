#pragma once
// The walk of a filter pass (First; until Eof: look at the row; Next) done as one pass over the
// table's cells instead of one cursor move a row. What a caller can rely on: the positions found
// are those of the walk, in table order; the cursor ends past the last row as the walk leaves it;
// and the views that follow the cursor are shown every row whose values a handler of theirs could
// carry over (the first row, the last row that holds a value in each field, the last row), so
// that what the views and their handlers keep is what the walk would leave.
#include <vector>

#include "store/MemData.h"

namespace walk {

// What a look at one row gives.
enum class TRowLook { Pass, Skip, Unreadable };

// Whether a cell reads as a date-time (null reads as 0) without conversion; false for a cell the
// walk would convert.
inline bool ReadDate(const TCellView& c, double& out) {
    if (std::holds_alternative<std::monostate>(c)) {
        out = 0.0;
        return true;
    }
    if (const auto* d = std::get_if<double>(&c)) {
        out = *d;
        return true;
    }
    return false;
}

// The same for a Boolean cell (null reads as False).
inline bool ReadBoolean(const TCellView& c, bool& out) {
    if (std::holds_alternative<std::monostate>(c)) {
        out = false;
        return true;
    }
    if (const auto* i = std::get_if<int64_t>(&c)) {
        out = *i != 0;
        return true;
    }
    return false;
}

// Whether a view that follows the table keeps values of the row under the cursor from one move
// to the next (a handler that copies a field only when it holds a value, as the task trees' do),
// or only what the last move shows (a grid's focus, a bound check box).
enum class TCarry { EveryField, Nothing };

// Moves the cursor, after the caller's pass over an unfiltered table that stands on its first
// row, to where the walk leaves it, showing the views the rows named above (with Nothing, only
// the last row).
void FinishWalk(TdxMemData& t, TCarry carry);

// The pass: after the caller's First on an unfiltered table, looks at each row in table order and
// appends the one-based position of each that passes, then finishes the walk. When a row is
// Unreadable, nothing is appended, the cursor stays on the first row and the result is false: the
// caller walks row by row, which fails where the walk fails. A filtered table is left to the
// caller too (false).
template <class Look>
bool PassRows(TdxMemData& t, TCarry carry, Look look, std::vector<int>& positions) {
    if (t.Filtered() || !t.Active()) return false;
    const int n = t.RowCount();
    const size_t before = positions.size();
    for (int row = 0; row < n; ++row) {
        TRowLook r = look(row);
        if (r == TRowLook::Unreadable) {
            positions.resize(before);
            return false;
        }
        if (r == TRowLook::Pass) positions.push_back(row + 1);
    }
    FinishWalk(t, carry);
    return true;
}

}  // namespace walk
