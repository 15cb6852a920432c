#pragma once
// The data-bound grid: TcxGrid, the control, shows a view of a table bound through a data source.
// TcxGridDBTableView lists one record a line; TcxGridDBBandedTableView lays a record's columns
// out on several lines. Records are read-only, but for the cells of the columns a view lets the
// user edit in place (TcxGridDBTableView::UserEditCell).
//
// A view's records are the rows its table shows (the filter respected), in the table's order,
// unless a column sorts the view. The view keeps no copy of the rows: it reads the table when it
// is asked, so that following a refilter costs the same whatever the table's size, and a cell's
// display text is made only for the cells drawn or printed. Records are addressed by their index
// in the view or by the value of the key field.
//
// A column can group the view: the records then stand in groups of equal values, each group a
// line of its own, expanded or collapsed, with its totals in a group footer; the view's footer
// totals all its records (toolkit/GridSummary.h). The user groups a view by dragging a column's
// header into the grouping box above it, which shows a prompt while it is empty. A sorted or grouped view keeps its order of the
// rows, made again when it is next read after the table changed.
//
// Binding follows the tree list's rules: the focused record follows the table's one cursor (the
// view hears the table's data-set-changed and scrolled notifications, none while controls are
// disabled, and catches up at EnableControls); focusing a record, as a user or by code, moves the
// cursor. The focused-record-changed event fires once whenever the focused record changes,
// whoever moved it. Owner-drawn cells run their column's draw handler each time they are drawn;
// the picture the handler drew is readable, without pixels.
//
// A form declares a grid as members and binds it in its constructor, the data source last:
//
//   TcxGrid cxGrid1{this, "cxGrid1"};
//   TcxGridDBBandedTableView cxGridDBBandedTableView1{this, "cxGridDBBandedTableView1", &cxGrid1};
//   TcxGridDBBandedColumn& clSubject = cxGridDBBandedTableView1.CreateColumn("clSubject", "Subject");
//   TcxGridDBBandedColumn& clText = cxGridDBBandedTableView1.CreateColumn("clText", "Text", 1);  // line 2
//   ...
//   clSubject.Caption = "Subject";
//   clSubject.Width = 481;
//   Bind(clMessageClass.OnCustomDrawCell, "clMessageClassCustomDrawCell", &TfmEmails::clMessageClassCustomDrawCell);
//   Bind(cxGridDBBandedTableView1.OnDblClick, "cxGridDBBandedTableView1DblClick", &TfmEmails::...DblClick);
//   cxGridDBBandedTableView1.PopupMenu = &PopupMenu1;
//   cxGridDBBandedTableView1.SetDataSource(&dsMemDataEmails);
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/Variant.h"
#include "store/MemData.h"
#include "toolkit/DataSource.h"
#include "toolkit/DBTreeList.h"
#include "toolkit/Forms.h"
#include "toolkit/Graphics.h"
#include "toolkit/GridSummary.h"

class TcxGrid;
class TcxGridDBTableView;
class TcxGridDBColumn;
class TPopupMenu;

// The cell being drawn, as a draw handler sees it.
class TcxGridTableDataCellViewInfo {
public:
    TcxGridDBColumn& Item;  // the column
    int RecordIndex;        // the record, by its index in the view
    TRect Bounds;           // the cell within its record
    // The cell's value and display text, read from the table when asked.
    Variant Value() const;
    std::string Text() const;
};

// A draw handler: it draws on the canvas and sets ADone to leave out the default drawing (the
// display text).
using TcxGridCustomDrawCellEvent = std::function<void(TcxGridDBTableView& Sender, TcxCanvas& ACanvas,
                                                      TcxGridTableDataCellViewInfo& AViewInfo, bool& ADone)>;

// Where a column stands in a banded view: its band, its line within the record (0 = first), and
// its place on that line. A plain table view puts every column on line 0, in creation order.
struct TcxGridBandedColumnPosition {
    int BandIndex = 0;
    int RowIndex = 0;
    int ColIndex = 0;
};

class TcxGridDBColumn {
public:
    const std::string& Name() const { return name_; }
    // The bound field; empty for a column bound to none (its cells show nothing but what a draw
    // handler draws).
    const std::string& FieldName() const { return fieldName_; }
    int Index() const { return index_; }  // creation order among the view's columns
    TcxGridDBTableView& GridView() const { return *view_; }

    std::string Caption;
    int Width = 0;  // 0: the default width
    bool Visible = true;
    // Sorts the view's records by this column's values (the first sorting column wins); ties keep
    // the table's order.
    TcxSortOrder SortOrder = TcxSortOrder::soNone;
    // Groups the view's records by this column's values when 0 or more (one level: the column
    // with the lowest index groups). The groups stand in the order of the values, descending
    // when the column sorts so.
    int GroupIndex = -1;
    TcxGridBandedColumnPosition Position;
    // What the user may do with the column: edit its cells in place (when the view allows
    // editing), group by it, filter it, move it.
    struct TOptions {
        bool Editing = true;
        bool Grouping = true;
        bool Filtering = true;
        bool Moving = true;
    } Options;

    // Owner drawing: fires each time a cell of the column is drawn. A column with a handler is
    // owner-drawn.
    TcxGridCustomDrawCellEvent OnCustomDrawCell;
    bool OwnerDrawn() const { return static_cast<bool>(OnCustomDrawCell); }

private:
    friend class TcxGridDBTableView;
    TcxGridDBColumn(TcxGridDBTableView* view, std::string name, std::string fieldName, int index)
        : view_(view), name_(std::move(name)), fieldName_(std::move(fieldName)), index_(index) {}
    TcxGridDBTableView* view_;
    std::string name_;
    std::string fieldName_;
    int index_;
};
using TcxGridDBBandedColumn = TcxGridDBColumn;

// What drawing a cell gave: the picture drawn (-1 for none), whether the handler left out the
// display text, and that text when it didn't.
struct TcxGridDrawnCell {
    bool OwnerDrawn = false;
    int ImageIndex = -1;
    bool Done = false;
    std::string Text;
};

// A group of records with equal values in the grouping column.
struct TcxGridGroup {
    int FirstRecord = 0;  // the records FirstRecord .. FirstRecord + RecordCount - 1
    int RecordCount = 0;
    bool Expanded = false;
    Variant Value;
    std::string DisplayText;
};

// A line of the view as drawn, top to bottom.
enum class TcxGridRowKind { Record, Group, GroupFooter, Footer };
struct TcxGridViewRow {
    TcxGridRowKind Kind;
    int Index;  // the record or the group; -1 for the footer
};

enum class TcxGroupFootersMode { gfInvisible, gfVisibleWhenExpanded, gfAlwaysVisible };

// The view's options that its forms set. Editing lets the user edit the cells of the columns that
// allow it, and ImmediatePost posts such an edit at once; rows are never inserted or deleted in
// the view, whatever Deleting and Inserting say.
struct TcxGridTableViewOptions {
    bool Editing = false;
    bool ImmediatePost = false;
    bool Deleting = false;
    bool Inserting = false;
    bool CellSelect = false;      // false: a click selects the record
    bool GroupByBox = false;
    bool Header = true;
    bool BandHeaders = false;
    bool Footer = false;
    TcxGroupFootersMode GroupFooters = TcxGroupFootersMode::gfInvisible;
    bool CellEndEllipsis = false;
};

class TcxGridDBTableView : public TControl, public IDataObserver {
public:
    explicit TcxGridDBTableView(std::string name);
    // A view whose parent is a TcxGrid becomes that grid's view.
    TcxGridDBTableView(TForm* owner, std::string name, TControl* parent = nullptr);
    ~TcxGridDBTableView() override;

    // ---- binding ---------------------------------------------------------------------------------
    void SetDataSource(TDataSource* source);
    TDataSource* DataSource() const { return source_; }
    TdxMemData* DataSet() const { return source_ ? source_->DataSet : nullptr; }
    // The field that names a record (one field).
    std::string KeyFieldNames = "ID";
    TcxGridTableViewOptions Options;
    TPopupMenu* PopupMenu = nullptr;
    TcxDataSummary Summary;
    // What the grouping box shows while no column groups the view.
    std::string GroupByBoxPrompt = "Drag a column header here to group by that column";

    // ---- columns ---------------------------------------------------------------------------------
    TcxGridDBColumn& CreateColumn(std::string name, std::string fieldName = std::string());
    int ColumnCount() const { return static_cast<int>(columns_.size()); }
    TcxGridDBColumn& Columns(int i) const { return *columns_.at(static_cast<size_t>(i)); }
    TcxGridDBColumn* ColumnByName(const std::string& name) const;
    // How many lines a record takes.
    virtual int LineCount() const { return 1; }
    // The line of a record on which the column stands.
    virtual int ColumnLine(const TcxGridDBColumn& column) const;
    // The visible columns as drawn: line by line, left to right.
    virtual std::vector<TcxGridDBColumn*> VisibleColumns() const;

    // ---- records ---------------------------------------------------------------------------------
    int RecordCount() const;
    // The table row (zero-based) of a record; -1 for an index outside the view.
    int RecordRow(int index) const;
    // The record of a table row; -1 when the view doesn't show the row.
    int RecordIndexOfRow(int row) const;
    Variant KeyValue(int index) const;
    // The record whose key field holds the value (compared as the field stores it); -1 when none.
    int FindRecordIndexByKeyValue(const Variant& key) const;
    Variant Values(int index, const TcxGridDBColumn& column) const;
    // The text the cell shows when drawn by default: the field's display text of the value.
    std::string DisplayTexts(int index, const TcxGridDBColumn& column) const;
    // Draws a cell: runs an owner-drawn column's handler, once per call.
    TcxGridDrawnCell DrawCell(int index, TcxGridDBColumn& column);

    // ---- groups and totals ---------------------------------------------------------------------
    // The grouping column; nullptr for a view without groups.
    TcxGridDBColumn* GroupingColumn() const;
    int GroupCount() const;
    TcxGridGroup Groups(int group) const;
    // The group of a record; -1 in a view without groups.
    int GroupOfRecord(int index) const;
    // A group stays expanded or collapsed by its value while the view changes. Groups are
    // collapsed at first; the focused record's group is expanded when the view is grouped and
    // whenever the focus moves into it, so that the focus shows.
    void SetGroupExpanded(int group, bool value);
    void FullExpand();
    void FullCollapse();
    // The lines of the view: the records, or the groups with the records of the expanded ones
    // and their footers, then the footer.
    std::vector<TcxGridViewRow> ViewRows() const;
    // The totals of the footer and of a group's footer, item by item; what a cell of the footer
    // shows is the text.
    Variant FooterSummaryValue(int item) const;
    std::string FooterSummaryText(int item) const;
    Variant GroupSummaryValue(int group, int item) const;
    std::string GroupSummaryText(int group, int item) const;

    // ---- focus -----------------------------------------------------------------------------------
    // The focused record; -1 when none.
    int FocusedRecordIndex() const;
    // Focuses a record as a user does: the table's cursor moves to its row. An index outside the
    // view does nothing.
    void SetFocusedRecordIndex(int index);
    std::function<void(TcxGridDBTableView& Sender, int PrevFocusedRecordIndex, int FocusedRecordIndex)>
        OnFocusedRecordChanged;

    // ---- the user's side -------------------------------------------------------------------------
    // A click or double click on a record, or on the empty space (-1): the view takes the focus,
    // the record is focused (the cursor moves), then the click events fire. False when the user
    // can't reach the view.
    bool UserClickRecord(int index);
    bool UserDblClickRecord(int index);
    // The user moves the focus into the view and onto a record (the keyboard), or only into the
    // view (-1).
    bool UserFocusRecord(int index);
    // A right click on a record, or on the empty space (-1): focus as for a click, then the popup
    // menu opens (its popup event). False when the view can't be reached or has no menu.
    bool UserContextPopup(int index);
    // Where the click being handled fell: a record, or -1 for the empty space.
    int HitRecordIndex() const { return hitIndex_; }
    // Whether the user can edit the column's cells in place.
    bool CellEditable(const TcxGridDBColumn& column) const;
    // The user edits a record's cell in place: the record is focused as by a click, then the
    // table row is put in edit with the new value (and posted with ImmediatePost). False when the
    // view can't be reached or the column isn't editable; a value the field can't hold raises,
    // and the row stays as it was.
    bool UserEditCell(int index, TcxGridDBColumn& column, const Variant& value);
    // The user drags a column's header into the grouping box: the view is grouped by it alone.
    // False when the box isn't shown or the column can't group.
    bool UserGroupBy(TcxGridDBColumn& column);
    // The user empties the grouping box.
    bool UserUngroup();
    // What the grouping box shows: the grouping column's caption, or the prompt.
    std::string GroupByBoxText() const;

    // The key of the focused record; null when none.
    Variant MainValue() const override;

    void DataEvent(TdxMemData& table, TDataEvent event, TField* field) override;

protected:
    void DescribeProperties(TPropertyList& list) const override;
    // A click on item i clicks record i.
    int UserItemCount() const override { return RecordCount(); }
    void UserItem(int index) override;

private:
    // A user's action on a record: focus to the view, the record focused, then the rest.
    bool UserActOn(int index, const std::function<bool()>& then);
    bool Bound() const;
    TField* KeyField() const;
    TField* FieldOf(const TcxGridDBColumn& column) const;
    void SyncFocusToCursor(bool layoutChanged);
    void FocusRow(int row);
    // Sorted and grouped views keep their order; others read the table's.
    const TcxGridDBColumn* SortColumn() const;
    bool Ordered() const;
    void EnsureOrder() const;
    // Whether the view shows a table row, without ordering the view.
    bool RowShown(int row) const;
    // Expands the group of a record that takes the focus.
    void RevealRecord(int index);
    Variant SummaryValue(const TcxGridDBTableSummaryItem& item, int first, int count) const;
    std::string SummaryText(const TcxGridDBTableSummaryItem& item, const Variant& value) const;

    TDataSource* source_ = nullptr;
    std::vector<std::unique_ptr<TcxGridDBColumn>> columns_;
    // The focus: the row, its bookmark (0 when no record is focused) and its index in the view
    // when the view last heard from the table.
    int focusedRow_ = -1;
    TBookmark focusedBookmark_ = 0;
    int focusedIndex_ = -1;
    int hitIndex_ = -1;

    // The order of a sorted or grouped view, built when first needed after a change.
    struct Order {
        bool valid = false;
        const TcxGridDBColumn* column = nullptr;
        TcxSortOrder direction = TcxSortOrder::soNone;
        const TcxGridDBColumn* groupColumn = nullptr;
        TcxSortOrder groupDirection = TcxSortOrder::soNone;
        int shownCount = 0;           // the table's count of shown rows when built
        std::vector<int> rows;        // table rows in view order
        std::vector<int> indexOfRow;  // by table row: record index, or -1
        std::vector<int> groupStarts; // the first record of each group
    };
    mutable Order order_;
    mutable std::set<std::string> expandedGroups_;  // by the group's display text
};

// A view whose records take several lines: each column stands on the line its Position gives.
class TcxGridDBBandedTableView : public TcxGridDBTableView {
public:
    using TcxGridDBTableView::TcxGridDBTableView;

    struct TBand {
        std::string Caption;
        bool Visible = true;
    };
    std::vector<TBand> Bands{TBand{}};

    // Makes a column on a line of the first band, after the columns there.
    TcxGridDBBandedColumn& CreateColumn(std::string name, std::string fieldName = std::string(), int line = 0);

    int LineCount() const override;
    int ColumnLine(const TcxGridDBColumn& column) const override;
    std::vector<TcxGridDBColumn*> VisibleColumns() const override;
};

// The grid control: it shows its active view, the first view made inside it.
class TcxGrid : public TControl {
public:
    using TControl::TControl;

    TcxGridDBTableView* ActiveView() const { return activeView_; }
    void SetActiveView(TcxGridDBTableView* view) { activeView_ = view; }
    bool TakesFocus() const override { return false; }

protected:
    void DescribeProperties(TPropertyList& list) const override;

private:
    TcxGridDBTableView* activeView_ = nullptr;
};
