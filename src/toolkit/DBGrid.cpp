#include "toolkit/DBGrid.h"

#include <algorithm>
#include <map>

#include "base/Exceptions.h"
#include "toolkit/Menus.h"

namespace {
constexpr int kDefaultColumnWidth = 64;
constexpr int kLineHeight = 17;

int WidthOf(const TcxGridDBColumn& c) { return c.Width > 0 ? c.Width : kDefaultColumnWidth; }
}  // namespace

// ---- the cell being drawn -----------------------------------------------------------------------

Variant TcxGridTableDataCellViewInfo::Value() const { return Item.GridView().Values(RecordIndex, Item); }

std::string TcxGridTableDataCellViewInfo::Text() const { return Item.GridView().DisplayTexts(RecordIndex, Item); }

// ---- the view: binding and columns --------------------------------------------------------------

TcxGridDBTableView::TcxGridDBTableView(std::string name) : TControl(nullptr, std::move(name)) {}

TcxGridDBTableView::TcxGridDBTableView(TForm* owner, std::string name, TControl* parent)
    : TControl(owner, std::move(name), parent) {
    if (auto* grid = dynamic_cast<TcxGrid*>(parent); grid && !grid->ActiveView()) grid->SetActiveView(this);
}

TcxGridDBTableView::~TcxGridDBTableView() {
    if (DataSet()) DataSet()->RemoveObserver(this);
    if (auto* grid = dynamic_cast<TcxGrid*>(Parent()); grid && grid->ActiveView() == this) grid->SetActiveView(nullptr);
}

void TcxGridDBTableView::SetDataSource(TDataSource* source) {
    if (DataSet()) DataSet()->RemoveObserver(this);
    source_ = source;
    if (DataSet()) DataSet()->AddObserver(this);
    order_.valid = false;
    SyncFocusToCursor(true);
}

bool TcxGridDBTableView::Bound() const { return DataSet() && DataSet()->Active(); }

TField* TcxGridDBTableView::KeyField() const {
    return Bound() && !KeyFieldNames.empty() ? DataSet()->FindField(KeyFieldNames) : nullptr;
}

TField* TcxGridDBTableView::FieldOf(const TcxGridDBColumn& column) const {
    return Bound() && !column.FieldName().empty() ? DataSet()->FindField(column.FieldName()) : nullptr;
}

TcxGridDBColumn& TcxGridDBTableView::CreateColumn(std::string name, std::string fieldName) {
    int index = static_cast<int>(columns_.size());
    columns_.push_back(std::unique_ptr<TcxGridDBColumn>(
        new TcxGridDBColumn(this, std::move(name), std::move(fieldName), index)));
    return *columns_.back();
}

TcxGridDBColumn* TcxGridDBTableView::ColumnByName(const std::string& name) const {
    for (const auto& c : columns_)
        if (SameName(c->Name(), name)) return c.get();
    return nullptr;
}

int TcxGridDBTableView::ColumnLine(const TcxGridDBColumn&) const { return 0; }

std::vector<TcxGridDBColumn*> TcxGridDBTableView::VisibleColumns() const {
    std::vector<TcxGridDBColumn*> out;
    for (const auto& c : columns_)
        if (c->Visible) out.push_back(c.get());
    return out;
}

// ---- records ------------------------------------------------------------------------------------

const TcxGridDBColumn* TcxGridDBTableView::SortColumn() const {
    for (const auto& c : columns_)
        if (c->SortOrder != TcxSortOrder::soNone && FieldOf(*c)) return c.get();
    return nullptr;
}

bool TcxGridDBTableView::Ordered() const {
    // Asked at every move of the cursor: one pass over the columns.
    for (const auto& c : columns_)
        if ((c->SortOrder != TcxSortOrder::soNone || c->GroupIndex >= 0) && FieldOf(*c)) return true;
    return false;
}

TcxGridDBColumn* TcxGridDBTableView::GroupingColumn() const {
    TcxGridDBColumn* best = nullptr;
    for (const auto& c : columns_)
        if (c->GroupIndex >= 0 && (!best || c->GroupIndex < best->GroupIndex) && FieldOf(*c)) best = c.get();
    return best;
}

namespace {

// Orders rows by a field whose cells are all numbers of one kind (or null, which stands first),
// as CompareCells orders them, ties in the given order; false when some cell is of another kind.
bool SortByNumbers(const TdxMemData& t, const TField& field, bool desc, std::vector<int>& rows) {
    const int fi = field.Index();
    struct Key {
        bool present;
        double value;
        int row;
    };
    std::vector<Key> keys;
    keys.reserve(rows.size());
    int kind = -1;  // the TCell alternative of the values: 1 integer, 2 double
    for (int row : rows) {
        const TCellView c = t.CellView(row, fi);
        if (std::holds_alternative<std::monostate>(c)) {
            keys.push_back({false, 0, row});
            continue;
        }
        int k = static_cast<int>(c.index());
        if (k != 1 && k != 2) return false;
        if (kind >= 0 && k != kind) return false;
        kind = k;
        if (k == 1) {
            int64_t v = std::get<int64_t>(c);
            if (v > (int64_t{1} << 53) || v < -(int64_t{1} << 53)) return false;  // not exact as a double
            keys.push_back({true, static_cast<double>(v), row});
        } else {
            double v = std::get<double>(c);
            if (v != v) return false;  // NaN: CompareCells' own rules
            keys.push_back({true, v, row});
        }
    }
    std::stable_sort(keys.begin(), keys.end(), [desc](const Key& a, const Key& b) {
        int r = a.present != b.present ? (a.present ? 1 : -1) : (a.value < b.value ? -1 : a.value > b.value ? 1 : 0);
        return desc ? r > 0 : r < 0;
    });
    for (size_t i = 0; i < keys.size(); ++i) rows[i] = keys[i].row;
    return true;
}

}  // namespace

void TcxGridDBTableView::EnsureOrder() const {
    TdxMemData* t = DataSet();
    const TcxGridDBColumn* column = SortColumn();
    const TcxGridDBColumn* group = GroupingColumn();
    if (order_.valid && order_.column == column && (!column || order_.direction == column->SortOrder) &&
        order_.groupColumn == group && (!group || order_.groupDirection == group->SortOrder) &&
        order_.shownCount == t->RecordCount() && static_cast<int>(order_.indexOfRow.size()) == t->RowCount())
        return;
    const bool regrouped = order_.groupColumn != group;
    order_.column = column;
    order_.direction = column ? column->SortOrder : TcxSortOrder::soNone;
    order_.groupColumn = group;
    order_.groupDirection = group ? group->SortOrder : TcxSortOrder::soNone;
    order_.shownCount = t->RecordCount();
    order_.rows = t->VisibleRows();
    // A filter list written by hand may name rows that are not there: they show nothing.
    const int rowCount = t->RowCount();
    std::erase_if(order_.rows, [rowCount](int row) { return row < 0 || row >= rowCount; });
    TField* sortField = column && column != group ? FieldOf(*column) : nullptr;
    TField* groupField = group ? FieldOf(*group) : nullptr;
    const bool sortDesc = column && column->SortOrder == TcxSortOrder::soDescending;
    const bool groupDesc = group && group->SortOrder == TcxSortOrder::soDescending;
    // Each row's group as a rank among the distinct values, ordered once by the table's rules
    // (with case, so that each group's rows stand together): the collation runs per distinct
    // value, not per comparison of two rows.
    std::vector<int> rankOfRow;
    if (groupField) {
        const int fi = groupField->Index();
        std::map<TCell, int> distinct;
        for (int row : order_.rows) distinct.emplace(t->Cell(row, fi), 0);
        std::vector<const TCell*> values;
        values.reserve(distinct.size());
        for (const auto& d : distinct) values.push_back(&d.first);
        std::stable_sort(values.begin(), values.end(), [&](const TCell* a, const TCell* b) {
            return t->CompareCells(*groupField, *a, *b, false) < 0;
        });
        int rank = -1;
        for (size_t i = 0; i < values.size(); ++i) {
            if (i == 0 || t->CompareCells(*groupField, *values[i - 1], *values[i], false) != 0) ++rank;
            distinct[*values[i]] = rank;
        }
        rankOfRow.assign(static_cast<size_t>(rowCount), -1);
        for (int row : order_.rows) rankOfRow[static_cast<size_t>(row)] = distinct[t->Cell(row, fi)];
    }
    if (sortField && !groupField && SortByNumbers(*t, *sortField, sortDesc, order_.rows)) {
        // Sorted by a number or date: ordered on the values themselves.
    } else if (sortField || groupField) {
        std::stable_sort(order_.rows.begin(), order_.rows.end(), [&](int a, int b) {
            if (groupField) {
                int ra = rankOfRow[static_cast<size_t>(a)], rb = rankOfRow[static_cast<size_t>(b)];
                if (ra != rb) return groupDesc ? ra > rb : ra < rb;
            }
            if (!sortField) return false;
            int r = t->CompareRowCells(*sortField, a, b, true);
            return sortDesc ? r > 0 : r < 0;
        });
    }
    order_.indexOfRow.assign(static_cast<size_t>(t->RowCount()), -1);
    for (size_t i = 0; i < order_.rows.size(); ++i) order_.indexOfRow[static_cast<size_t>(order_.rows[i])] = static_cast<int>(i);
    order_.groupStarts.clear();
    if (groupField) {
        for (size_t i = 0; i < order_.rows.size(); ++i)
            if (i == 0 || rankOfRow[static_cast<size_t>(order_.rows[i])] != rankOfRow[static_cast<size_t>(order_.rows[i - 1])])
                order_.groupStarts.push_back(static_cast<int>(i));
    }
    order_.valid = true;
    if (regrouped && groupField && focusedBookmark_) {
        // The records just fell into groups: the focused one's group opens.
        int focused = FocusedRecordIndex();
        if (focused >= 0) expandedGroups_.insert(DisplayTexts(focused, *group));
    }
}

int TcxGridDBTableView::RecordCount() const { return Bound() ? DataSet()->RecordCount() : 0; }

int TcxGridDBTableView::RecordRow(int index) const {
    if (index < 0 || index >= RecordCount()) return -1;
    TdxMemData* t = DataSet();
    if (Ordered()) {
        EnsureOrder();
        return index < static_cast<int>(order_.rows.size()) ? order_.rows[static_cast<size_t>(index)] : -1;
    }
    if (!t->Filtered()) return index;
    int row = t->FilterList()[static_cast<size_t>(index)] - 1;
    return row >= 0 && row < t->RowCount() ? row : -1;
}

int TcxGridDBTableView::RecordIndexOfRow(int row) const {
    if (!Bound() || row < 0 || row >= DataSet()->RowCount()) return -1;
    TdxMemData* t = DataSet();
    if (Ordered()) {
        EnsureOrder();
        return order_.indexOfRow[static_cast<size_t>(row)];
    }
    if (!t->Filtered()) return row;
    const std::vector<int>& list = t->FilterList();
    int n = static_cast<int>(list.size());
    // The cursor's own place in the filter first: the common question is about the cursor's row.
    int pos = t->RecNo() - 1;
    if (pos >= 0 && pos < n && list[static_cast<size_t>(pos)] == row + 1) return pos;
    for (int i = 0; i < n; ++i)
        if (list[static_cast<size_t>(i)] == row + 1) return i;
    return -1;
}

Variant TcxGridDBTableView::KeyValue(int index) const {
    TField* key = KeyField();
    int row = RecordRow(index);
    if (!key || row < 0) return Variant();
    return DataSet()->RowValue(row, *key);
}

int TcxGridDBTableView::FindRecordIndexByKeyValue(const Variant& key) const {
    TField* field = KeyField();
    if (!field || key.IsNull()) return -1;
    TCell wanted;
    try {
        wanted = field->VariantToCell(key);
    } catch (const std::exception&) {
        return -1;  // a value the field can't hold names no record
    }
    TdxMemData* t = DataSet();
    int fi = field->Index();
    for (int i = 0, n = RecordCount(); i < n; ++i) {
        int row = RecordRow(i);
        if (row >= 0 && t->Cell(row, fi) == wanted) return i;
    }
    return -1;
}

Variant TcxGridDBTableView::Values(int index, const TcxGridDBColumn& column) const {
    TField* f = FieldOf(column);
    int row = RecordRow(index);
    if (!f || row < 0) return Variant();
    return DataSet()->RowValue(row, *f);
}

std::string TcxGridDBTableView::DisplayTexts(int index, const TcxGridDBColumn& column) const {
    TField* f = FieldOf(column);
    int row = RecordRow(index);
    if (!f || row < 0) return std::string();
    return f->CellDisplayText(DataSet()->Cell(row, f->Index()));
}

TcxGridDrawnCell TcxGridDBTableView::DrawCell(int index, TcxGridDBColumn& column) {
    TcxGridDrawnCell out;
    out.OwnerDrawn = column.OwnerDrawn();
    if (index < 0 || index >= RecordCount()) return out;
    if (column.OnCustomDrawCell) {
        int line = ColumnLine(column);
        TRect bounds;
        bounds.Top = line * kLineHeight;
        bounds.Bottom = bounds.Top + kLineHeight;
        for (TcxGridDBColumn* c : VisibleColumns()) {
            if (c == &column) break;
            if (ColumnLine(*c) == line) bounds.Left += WidthOf(*c);
        }
        bounds.Right = bounds.Left + WidthOf(column);
        TcxCanvas canvas;
        TcxGridTableDataCellViewInfo info{column, index, bounds};
        bool done = false;
        TcxGridCustomDrawCellEvent handler = column.OnCustomDrawCell;  // the handler may rebind it
        handler(*this, canvas, info, done);
        out.ImageIndex = canvas.DrawnImageIndex();
        out.Done = done;
        if (done) return out;
    }
    out.Text = DisplayTexts(index, column);
    return out;
}

// ---- groups -------------------------------------------------------------------------------------

int TcxGridDBTableView::GroupCount() const {
    if (!Bound() || !GroupingColumn()) return 0;
    EnsureOrder();
    return static_cast<int>(order_.groupStarts.size());
}

TcxGridGroup TcxGridDBTableView::Groups(int group) const {
    TcxGridGroup g;
    if (group < 0 || group >= GroupCount()) return g;
    const std::vector<int>& starts = order_.groupStarts;
    g.FirstRecord = starts[static_cast<size_t>(group)];
    int end = group + 1 < static_cast<int>(starts.size()) ? starts[static_cast<size_t>(group) + 1]
                                                         : static_cast<int>(order_.rows.size());
    g.RecordCount = end - g.FirstRecord;
    TcxGridDBColumn* column = GroupingColumn();
    g.Value = Values(g.FirstRecord, *column);
    g.DisplayText = DisplayTexts(g.FirstRecord, *column);
    g.Expanded = expandedGroups_.count(g.DisplayText) > 0;
    return g;
}

int TcxGridDBTableView::GroupOfRecord(int index) const {
    if (index < 0 || index >= RecordCount() || GroupCount() == 0) return -1;
    const std::vector<int>& starts = order_.groupStarts;
    auto it = std::upper_bound(starts.begin(), starts.end(), index);
    return static_cast<int>(it - starts.begin()) - 1;
}

void TcxGridDBTableView::SetGroupExpanded(int group, bool value) {
    if (group < 0 || group >= GroupCount()) return;
    std::string key = Groups(group).DisplayText;
    if (value) expandedGroups_.insert(key);
    else expandedGroups_.erase(key);
}

void TcxGridDBTableView::FullExpand() {
    for (int g = 0, n = GroupCount(); g < n; ++g) SetGroupExpanded(g, true);
}

void TcxGridDBTableView::FullCollapse() { expandedGroups_.clear(); }

void TcxGridDBTableView::RevealRecord(int index) {
    if (index >= 0 && GroupingColumn()) SetGroupExpanded(GroupOfRecord(index), true);
}

std::vector<TcxGridViewRow> TcxGridDBTableView::ViewRows() const {
    std::vector<TcxGridViewRow> out;
    int groups = GroupCount();
    if (groups == 0) {
        for (int i = 0, n = RecordCount(); i < n; ++i) out.push_back({TcxGridRowKind::Record, i});
    } else {
        bool footers = Options.GroupFooters != TcxGroupFootersMode::gfInvisible && !Summary.DefaultGroupSummaryItems.empty();
        for (int g = 0; g < groups; ++g) {
            TcxGridGroup group = Groups(g);
            out.push_back({TcxGridRowKind::Group, g});
            if (group.Expanded)
                for (int i = group.FirstRecord; i < group.FirstRecord + group.RecordCount; ++i)
                    out.push_back({TcxGridRowKind::Record, i});
            if (footers && (group.Expanded || Options.GroupFooters == TcxGroupFootersMode::gfAlwaysVisible))
                out.push_back({TcxGridRowKind::GroupFooter, g});
        }
    }
    if (Options.Footer && !Summary.FooterSummaryItems.empty()) out.push_back({TcxGridRowKind::Footer, -1});
    return out;
}

// ---- focus --------------------------------------------------------------------------------------

int TcxGridDBTableView::FocusedRecordIndex() const {
    if (!focusedBookmark_ || !Bound()) return -1;
    TdxMemData* t = DataSet();
    int row = focusedRow_;
    // Rows move only when the table changes; the view hears of it unless controls are disabled.
    if (row < 0 || row >= t->RowCount() || t->RowBookmark(row) != focusedBookmark_) row = t->RowOfBookmark(focusedBookmark_);
    return RecordIndexOfRow(row);
}

bool TcxGridDBTableView::RowShown(int row) const {
    if (!Bound() || row < 0 || row >= DataSet()->RowCount()) return false;
    TdxMemData* t = DataSet();
    if (Ordered() && order_.valid && static_cast<int>(order_.indexOfRow.size()) == t->RowCount() &&
        order_.shownCount == t->RecordCount())
        return order_.indexOfRow[static_cast<size_t>(row)] >= 0;
    if (!t->Filtered()) return true;
    const std::vector<int>& list = t->FilterList();
    int n = static_cast<int>(list.size());
    int pos = t->RecNo() - 1;
    if (pos >= 0 && pos < n && list[static_cast<size_t>(pos)] == row + 1) return true;
    return std::find(list.begin(), list.end(), row + 1) != list.end();
}

void TcxGridDBTableView::SyncFocusToCursor(bool layoutChanged) {
    // Runs at every move of the cursor: one look at the cursor's row, nothing per row. The
    // record's place in a sorted view is worked out only when something needs it (a grouped view,
    // a handler to tell), so that a change of the table doesn't order the view at once.
    TdxMemData* t = DataSet();
    int row = -1;
    if (Bound() && t->RecordCount() > 0 && RowShown(t->CurRec())) row = t->CurRec();
    TBookmark now = row >= 0 ? t->RowBookmark(row) : 0;
    const bool wantIndex = GroupingColumn() || OnFocusedRecordChanged;
    int index = row >= 0 && wantIndex ? RecordIndexOfRow(row) : -1;
    int previous = layoutChanged ? -1 : focusedIndex_;
    focusedRow_ = row;
    focusedIndex_ = index;
    if (now == focusedBookmark_) return;
    focusedBookmark_ = now;
    RevealRecord(index);
    if (OnFocusedRecordChanged) OnFocusedRecordChanged(*this, previous, index);
}

void TcxGridDBTableView::FocusRow(int row) {
    TdxMemData* t = DataSet();
    if (row != t->CurRec() || t->State() != TDataSetState::dsBrowse) t->GotoRow(row);
    // While the table holds its notifications back, the view focuses the record itself.
    TBookmark b = t->RowBookmark(row);
    int index = RecordIndexOfRow(row);
    int previous = focusedBookmark_ ? FocusedRecordIndex() : -1;
    focusedRow_ = row;
    focusedIndex_ = index;
    if (b == focusedBookmark_) return;
    focusedBookmark_ = b;
    RevealRecord(index);
    if (OnFocusedRecordChanged) OnFocusedRecordChanged(*this, previous, index);
}

void TcxGridDBTableView::SetFocusedRecordIndex(int index) {
    int row = RecordRow(index);
    if (row >= 0) FocusRow(row);
}

void TcxGridDBTableView::DataEvent(TdxMemData&, TDataEvent event, TField*) {
    if (event == TDataEvent::DataSetChange) {
        order_.valid = false;
        SyncFocusToCursor(true);
    } else if (event == TDataEvent::DataSetScroll) {
        SyncFocusToCursor(false);
    }
}

Variant TcxGridDBTableView::MainValue() const { return KeyValue(FocusedRecordIndex()); }

// ---- the user's side ----------------------------------------------------------------------------

void TcxGridDBTableView::UserItem(int index) {
    hitIndex_ = index;
    SetFocusedRecordIndex(index);
    DoClick();
}

bool TcxGridDBTableView::UserClickRecord(int index) {
    return UserActOn(index, [this] {
        DoClick();
        return true;
    });
}

bool TcxGridDBTableView::UserDblClickRecord(int index) {
    return UserActOn(index, [this] {
        DoClick();
        if (OnDblClick) OnDblClick();
        return true;
    });
}

bool TcxGridDBTableView::UserFocusRecord(int index) {
    return UserActOn(index, [] { return true; });
}

bool TcxGridDBTableView::UserContextPopup(int index) {
    return UserActOn(index, [this] {
        if (!PopupMenu) return false;
        PopupMenu->Popup();
        return true;
    });
}

bool TcxGridDBTableView::UserActOn(int index, const std::function<bool()>& then) {
    if (!Reachable()) return false;
    // The record is held by its row's bookmark: moving the focus may run handlers that change
    // the table.
    int target = RecordRow(index);
    TBookmark b = target >= 0 ? DataSet()->RowBookmark(target) : 0;
    return RunUserAction([&] {
        if (!TakeUserFocus()) return false;
        int row = b ? DataSet()->RowOfBookmark(b) : -1;
        hitIndex_ = RecordIndexOfRow(row);
        if (hitIndex_ >= 0) FocusRow(row);
        return then();
    });
}

bool TcxGridDBTableView::CellEditable(const TcxGridDBColumn& column) const {
    return Options.Editing && column.Options.Editing && FieldOf(column) && !FieldOf(column)->IsAutoInc();
}

bool TcxGridDBTableView::UserEditCell(int index, TcxGridDBColumn& column, const Variant& value) {
    if (!CellEditable(column) || index < 0) return false;
    return UserActOn(index, [&] {
        if (hitIndex_ < 0 || !CellEditable(column)) return false;
        TdxMemData* t = DataSet();
        TField* f = FieldOf(column);
        static_cast<void>(f->VariantToCell(value));  // a value the field can't hold raises here
        t->Edit();
        try {
            f->SetValue(value);
        } catch (...) {
            t->Cancel();
            throw;
        }
        if (Options.ImmediatePost) t->Post();
        return true;
    });
}

bool TcxGridDBTableView::UserGroupBy(TcxGridDBColumn& column) {
    if (!Reachable() || !Options.GroupByBox || !column.Options.Grouping || !FieldOf(column)) return false;
    return RunUserAction([&] {
        for (auto& c : columns_) c->GroupIndex = -1;
        column.GroupIndex = 0;
        order_.valid = false;
        return true;
    });
}

bool TcxGridDBTableView::UserUngroup() {
    if (!Reachable() || !Options.GroupByBox) return false;
    return RunUserAction([&] {
        for (auto& c : columns_) c->GroupIndex = -1;
        order_.valid = false;
        return true;
    });
}

std::string TcxGridDBTableView::GroupByBoxText() const {
    TcxGridDBColumn* group = GroupingColumn();
    return group ? group->Caption : GroupByBoxPrompt;
}

void TcxGridDBTableView::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("RecordCount", [this] { return Variant(RecordCount()); });
    list.Add("FocusedRecordIndex", [this] { return Variant(FocusedRecordIndex()); });
    list.Add("KeyFieldNames", [this] { return Variant(KeyFieldNames); });
    list.Add("DataSource", [this] { return Variant(source_ ? source_->Name : std::string()); });
    list.Add("PopupMenu", [this] { return Variant(PopupMenu ? PopupMenu->Name() : std::string()); });
    list.Add("ColumnCount", [this] { return Variant(ColumnCount()); });
    list.Add("LineCount", [this] { return Variant(LineCount()); });
    list.Add("GroupByBox", [this] { return Variant(Options.GroupByBox); });
    list.Add("GroupByBoxText", [this] { return Variant(GroupByBoxText()); });
    list.Add("GroupingColumn", [this] { return Variant(GroupingColumn() ? GroupingColumn()->Name() : std::string()); });
}

// ---- the banded view ----------------------------------------------------------------------------

TcxGridDBBandedColumn& TcxGridDBBandedTableView::CreateColumn(std::string name, std::string fieldName, int line) {
    int place = 0;
    for (int i = 0; i < ColumnCount(); ++i)
        if (Columns(i).Position.BandIndex == 0 && Columns(i).Position.RowIndex == line) ++place;
    TcxGridDBColumn& c = TcxGridDBTableView::CreateColumn(std::move(name), std::move(fieldName));
    c.Position.RowIndex = line < 0 ? 0 : line;
    c.Position.ColIndex = place;
    return c;
}

int TcxGridDBBandedTableView::ColumnLine(const TcxGridDBColumn& column) const {
    return column.Position.RowIndex < 0 ? 0 : column.Position.RowIndex;
}

int TcxGridDBBandedTableView::LineCount() const {
    int lines = 1;
    for (TcxGridDBColumn* c : VisibleColumns()) lines = std::max(lines, ColumnLine(*c) + 1);
    return lines;
}

std::vector<TcxGridDBColumn*> TcxGridDBBandedTableView::VisibleColumns() const {
    std::vector<TcxGridDBColumn*> out;
    for (int i = 0; i < ColumnCount(); ++i) {
        TcxGridDBColumn& c = Columns(i);
        int band = c.Position.BandIndex;
        bool bandShown = band >= 0 && band < static_cast<int>(Bands.size()) && Bands[static_cast<size_t>(band)].Visible;
        if (c.Visible && bandShown) out.push_back(&c);
    }
    std::stable_sort(out.begin(), out.end(), [this](const TcxGridDBColumn* a, const TcxGridDBColumn* b) {
        int la = ColumnLine(*a), lb = ColumnLine(*b);
        if (la != lb) return la < lb;
        if (a->Position.BandIndex != b->Position.BandIndex) return a->Position.BandIndex < b->Position.BandIndex;
        return a->Position.ColIndex < b->Position.ColIndex;
    });
    return out;
}

// ---- the grid control ---------------------------------------------------------------------------

void TcxGrid::DescribeProperties(TPropertyList& list) const {
    TControl::DescribeProperties(list);
    list.Add("ActiveView", [this] { return Variant(activeView_ ? activeView_->Name() : std::string()); });
}
