#include "toolkit/TableWalk.h"

#include <algorithm>

namespace walk {

void FinishWalk(TdxMemData& t, TCarry carry) {
    const int n = t.RowCount();
    if (n == 0) return;  // First left the cursor at both ends
    if (t.ControlsDisabled()) {
        // Nobody is told of the moves: only where the cursor stands counts.
        t.Last();
        return;
    }
    // A view's handler reads the row under the cursor, and one that keeps a field only when it
    // holds a value carries the last such row over. Each such row is shown in table order, then
    // the last row; every other row's effects the later rows overwrite.
    std::vector<int> stops;
    const int fields = carry == TCarry::EveryField ? t.FieldCount() : 0;
    for (int f = 0; f < fields; ++f)
        for (int row = n - 1; row > 0; --row)
            if (!std::holds_alternative<std::monostate>(t.CellView(row, f))) {
                stops.push_back(row);
                break;
            }
    stops.push_back(n - 1);
    std::sort(stops.begin(), stops.end());
    stops.erase(std::unique(stops.begin(), stops.end()), stops.end());
    for (int row : stops)
        if (row > 0) t.GotoRow(row);
    t.Next();  // past the end: Eof, the cursor on the last row
}

}  // namespace walk
