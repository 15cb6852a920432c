#pragma once
// TdxMemData: a table held wholly in memory, with one cursor, saved whole to and loaded whole
// from a binary stream. Views (trees, grids) are observers of a table; DisableControls holds
// their notifications back.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "base/Currency.h"
#include "base/DateTime.h"
#include "base/Variant.h"
#include "store/TableFile.h"

// The closed list of field kinds, numbered by their code in the file format.
enum class TFieldType : int16_t {
    ftUnknown = 0,
    ftString = 1,
    ftSmallint = 2,
    ftInteger = 3,
    ftWord = 4,
    ftBoolean = 5,
    ftFloat = 6,
    ftCurrency = 7,
    ftBCD = 8,
    ftDate = 9,
    ftTime = 10,
    ftDateTime = 11,
    ftAutoInc = 12,
    ftBlob = 13,
    ftMemo = 14,
    ftGraphic = 15,
    ftFmtMemo = 16,
    ftParadoxOle = 17,
    ftDBaseOle = 18,
    ftTypedBinary = 19,
    ftWideString = 20,
    ftLargeint = 21,
    ftGuid = 22,
    ftTimeStamp = 23,
    ftFMTBcd = 24,
    ftWideMemo = 25,
    ftLongWord = 26,
    ftShortint = 27,
    ftByte = 28,
    ftExtended = 29,
};
const char* FieldTypeName(TFieldType t);
// The kinds stored as blobs: a length and bytes, no flag.
bool IsBlobType(TFieldType t);

enum class TFieldKind { fkData, fkCalculated };
enum class TDataSetState { dsInactive, dsBrowse, dsEdit, dsInsert };
const char* DataSetStateName(TDataSetState s);  // "Inactive", "Browse", "Edit", "Insert"

using TLocateOptions = unsigned;
constexpr TLocateOptions loCaseInsensitive = 1;
constexpr TLocateOptions loPartialKey = 2;

using TSortOptions = unsigned;
constexpr TSortOptions soDesc = 1;
constexpr TSortOptions soCaseInsensitive = 2;

using TBookmark = int;

// The whole numbers a field of an integer kind holds (Integer, AutoInc and any other kind: 32
// bits).
std::pair<int64_t, int64_t> IntegerRange(TFieldType t);

class TdxMemData;

// One stored value: nothing, an integer (integers, booleans, currency in ten-thousandths), a
// double (floats, dates, times) or bytes (single-byte text, blobs; wide text as UTF-8).
using TCell = std::variant<std::monostate, int64_t, double, std::string>;
// A cell read where it stands, with the same alternatives as TCell: the text is the table's own,
// valid until the table next changes.
using TCellView = std::variant<std::monostate, int64_t, double, std::string_view>;

class TField {
public:
    const std::string& FieldName() const { return name_; }
    TFieldType DataType() const { return type_; }
    int Size() const { return size_; }
    TFieldKind FieldKind() const { return kind_; }
    int Index() const { return index_; }
    TdxMemData& DataSet() const { return *owner_; }
    bool IsBlob() const;
    bool IsAutoInc() const;

    // Presentation, read by views and reports.
    bool Visible = true;
    std::string DisplayLabel;
    std::string DisplayFormat;  // e.g. "#0.00"

    // Fires on every assignment in Edit or Insert state, before Post, never during a load.
    std::function<void(TField&)> OnChange;

    // Typed access to the current row. Text is program text (UTF-8); single-byte fields convert
    // to the code page on assignment and keep at most Size() bytes.
    Variant Value() const;
    void SetValue(const Variant& v);
    bool IsNull() const;
    void Clear();
    std::string AsString() const;
    void SetAsString(std::string_view s);
    int AsInteger() const;
    void SetAsInteger(int v);
    double AsFloat() const;
    void SetAsFloat(double v);
    Currency AsCurrency() const;
    void SetAsCurrency(Currency v);
    TDateTime AsDateTime() const;
    void SetAsDateTime(TDateTime v);
    bool AsBoolean() const;
    void SetAsBoolean(bool v);
    // The text a view shows for the current row.
    std::string DisplayText() const;

    // Conversions between a stored cell and a program value for this field's kind.
    Variant CellToVariant(const TCell& c) const;
    Variant TextToVariant(std::string_view stored) const;
    TCell VariantToCell(const Variant& v) const;
    std::string CellDisplayText(const TCell& c) const;

private:
    friend class TdxMemData;
    TField(TdxMemData* owner, std::string name, TFieldType type, int size, TFieldKind kind, int index)
        : owner_(owner), name_(std::move(name)), type_(type), size_(size), kind_(kind), index_(index) {}
    TdxMemData* owner_;
    std::string name_;
    TFieldType type_;
    int size_;
    TFieldKind kind_;
    int index_;
};

enum class TDataEvent {
    DataSetChange,  // rows, filter, sort or state of the whole table changed; also at EnableControls
    DataSetScroll,  // the cursor moved
    RecordChange,   // a field of the current row was written (field given)
    StateChange,    // Browse, Edit, Insert
};

class IDataObserver {
public:
    virtual ~IDataObserver() = default;
    virtual void DataEvent(TdxMemData& table, TDataEvent event, TField* field) = 0;
};

class TdxMemData {
public:
    explicit TdxMemData(std::string name = {});
    ~TdxMemData();
    TdxMemData(const TdxMemData&) = delete;
    TdxMemData& operator=(const TdxMemData&) = delete;

    const std::string& Name() const { return name_; }

    // Fields. RecId, the hidden calculated row number, is always the first.
    TField& AddField(std::string name, TFieldType type, int size = 0,
                     TFieldKind kind = TFieldKind::fkData);
    int FieldCount() const { return static_cast<int>(fields_.size()); }
    TField& Fields(int i) const { return *fields_.at(static_cast<size_t>(i)); }
    TField& FieldByName(std::string_view name) const;  // EDatabaseError when unknown
    TField* FindField(std::string_view name) const;

    // Open state.
    void Open();
    void Close();
    bool Active() const { return state_ != TDataSetState::dsInactive; }
    void SetActive(bool value);
    TDataSetState State() const { return state_; }

    // Cursor. Each move first posts a pending row.
    void First();
    void Last();
    void Next();
    void Prior();
    bool Eof() const { return eof_; }
    bool Bof() const { return bof_; }
    bool IsEmpty() const { return RecordCount() == 0; }
    int RecordCount() const;
    int RecNo() const;
    void SetRecNo(int value);

    // Editing.
    void Edit();
    void Append();
    void Insert();
    void Post();
    void Cancel();
    void Delete();
    Variant FieldValues(std::string_view name) const;
    void SetFieldValues(std::string_view name, const Variant& v);

    // Searching. Key fields are separated by ";".
    bool Locate(std::string_view keyFields, const Variant& keyValue, TLocateOptions options = 0);
    bool Locate(std::string_view keyFields, const std::vector<Variant>& keyValues,
                TLocateOptions options = 0);
    // Values of resultFields (separated by ";") of the first matching row; nullopt when none.
    std::optional<std::vector<Variant>> Lookup(std::string_view keyFields,
                                               const std::vector<Variant>& keyValues,
                                               std::string_view resultFields);
    Variant Lookup(std::string_view keyFields, const Variant& keyValue, std::string_view resultField);

    // Bookmarks.
    TBookmark GetBookmark() const;
    void GotoBookmark(TBookmark b);
    void FreeBookmark(TBookmark) {}
    bool BookmarkValid(TBookmark b) const;

    // Observers.
    void DisableControls();
    void EnableControls();
    bool ControlsDisabled() const { return disableCount_ > 0; }
    void Refresh();
    void AddObserver(IDataObserver* o);
    void RemoveObserver(IDataObserver* o);

    // Programmed filter.
    bool Filtered() const { return isFiltered_; }
    void SetFiltered(bool value);
    bool ProgrammedFilter() const { return programmedFilter_; }
    void SetProgrammedFilter(bool value) { programmedFilter_ = value; }
    std::vector<int>& FilterList() { return filterList_; }
    const std::vector<int>& FilterList() const { return filterList_; }

    // Sorting.
    const std::string& SortedField() const { return sortedFieldName_; }
    void SetSortedField(std::string name);
    TSortOptions SortOptions() const { return sortOptions_; }
    void SetSortOptions(TSortOptions options);

    // Files and streams (bytes held in std::string).
    void SaveToStream(std::string& out);
    void LoadFromStream(const std::string& bytes);
    void SaveToBinaryFile(const std::string& path);
    // Whether the file at the path holds, byte for byte, what SaveToBinaryFile would write now:
    // it is the very file this table last loaded whole or wrote there (same file, size and
    // modification and change times), its bytes are those the writer makes (the current
    // version, the table's own fields, every value as the writer puts it), and no row changed
    // since.
    bool FileHoldsRows(const std::string& path) const;
    // The file is read only when it is a regular file (a link to one is followed); it is
    // replaced whole by a save, never left torn (see store/TableFile.h). A mapped file's text
    // stays the file's until DetachTableFileImages.
    void LoadFromBinaryFile(const std::string& path, TableFileRead how = TableFileRead::Copy);
    // Takes over what a load into `from`, a table of the same fields, left: its rows, text,
    // auto-increment state, whether it read whole, and the stamp of the file it read, leaving
    // this table as that load would have left it (and telling its observers as a load does);
    // `from` is left closed and empty. `raised` says that the load raised: the rows it read
    // stay, and no file is taken as holding them. False, and nothing done, when the fields
    // differ (names, kinds, sizes) or `from` is the table itself.
    bool TakeLoad(TdxMemData& from, bool raised);
    // Whether the other table has the same fields, in the same order, of the same kinds and sizes.
    bool SameFields(const TdxMemData& other) const;
    // Whether the last load read its stream whole: false after a load that stopped short (a cut
    // or damaged record, a header that makes no sense) or raised.
    bool LoadedWhole() const { return loadedWhole_; }
    void CreateFieldsFromStream(const std::string& bytes);
    void CreateFieldsFromBinaryFile(const std::string& path);
    void LoadFromDataSet(TdxMemData* source);

    // Fires before a row is removed by Delete, on that row.
    std::function<void(TdxMemData&)> BeforeDelete;

    // Read access for views, without moving the cursor.
    int RowCount() const { return static_cast<int>(rows_.size()); }  // all rows, whatever the filter
    int CurRec() const { return curRec_; }                             // zero-based, -1 for none
    // Changes whenever a row is added, removed, moved or given another value (a row posted as
    // it was is no change), and at every load and close: a view that saw the same version saw
    // the same rows in the same order. Versions are drawn from one count for all tables, so no
    // two tables, nor two states of one, ever share one.
    uint64_t RowsVersion() const { return rowsVersion_; }
    // Whether a row's cell holds exactly the value (the same kind and bits, or the same text).
    bool SameCell(int row, int field, const TCell& value) const;
    std::vector<int> VisibleRows() const;                              // zero-based rows the filter shows
    TCell Cell(int row, int field) const;
    TCellView CellView(int row, int field) const;  // the same, without copying text
    // Three-way compare of one field of two rows, as CompareCells, without copying their text.
    int CompareRowCells(const TField& field, int rowA, int rowB, bool ignoreCase) const;
    // The one-based table positions, in table order, of the rows whose integer field holds the
    // value; the rows in edit are read as stored. The field's values are read from a column kept
    // beside the rows and made anew after any change of the rows, so that a second search over
    // unchanged rows reads one array.
    void FindIntegerRows(int field, int64_t value, std::vector<int>& positions) const;
    Variant RowValue(int row, const TField& field) const;
    TBookmark RowBookmark(int row) const;
    int RowOfBookmark(TBookmark b) const;  // -1 when gone
    // Three-way compare of two cells of a field by the rules of the table (null first, text by
    // the locale's collation).
    int CompareCells(const TField& field, const TCell& a, const TCell& b, bool ignoreCase) const;
    // Moves the cursor to a zero-based row (posting first); the row must be shown by the filter.
    void GotoRow(int row);
    bool Loading() const { return loadFlag_; }

private:
    friend class TField;
    friend class TMemDataReader;
    friend class TMemDataWriter;

    // A stored value: nothing, an integer (also booleans and currency in ten-thousandths), a
    // double (floats, dates, times) or text, which points into the table's text store.
    enum class SlotKind : uint8_t { None, Int, Real, Text };
    struct Slot {
        union {
            int64_t i;
            double d;
            const char* p;
        };
        uint32_t len;
        SlotKind kind;
        Slot() : i(0), len(0), kind(SlotKind::None) {}
        std::string_view Text() const { return {p, len}; }
    };
    // The slots of the rows one load read, all in one block: it goes when the table closes or
    // loads again, and once fewer than half its rows still lie in it (the others are then moved
    // to a block of their size). `live` counts the rows whose slots lie in it.
    struct RowBlock {
        std::vector<Slot> slots;
        size_t rows = 0;
        size_t live = 0;
    };
    // A row's slots: its own array, or a place in a load's block (counted there while it lasts).
    // A copy is always the row's own; a row moved keeps its place.
    class RowCells {
    public:
        RowCells() = default;
        RowCells(RowBlock& block, size_t first, size_t n);
        RowCells(const RowCells& o);
        RowCells(RowCells&& o) noexcept;
        RowCells& operator=(const RowCells& o);  // copies the values, into its own place when it fits
        RowCells& operator=(RowCells&& o) noexcept;
        ~RowCells() { Release(); }
        size_t size() const { return n_; }
        Slot& operator[](size_t i) { return p_[i]; }
        const Slot& operator[](size_t i) const { return p_[i]; }
        Slot& at(size_t i);
        const Slot& at(size_t i) const;
        Slot* begin() { return p_; }
        Slot* end() { return p_ + n_; }
        const Slot* begin() const { return p_; }
        const Slot* end() const { return p_ + n_; }
        void assign(size_t n, const Slot& v);
        void emplace_back();  // one more slot, holding nothing; the row then has its own array
        bool In(const RowBlock* block) const { return block_ && block_ == block; }
        // Moves the slots into another block, from its slot `first` on.
        void MoveInto(RowBlock& block, size_t first);

    private:
        void Release();
        Slot* p_ = nullptr;
        RowBlock* block_ = nullptr;  // null: p_ is the row's own array
        uint32_t n_ = 0;
    };
    struct Row {
        RowCells cells;
        TBookmark bookmark = 0;
    };
    // Text for the slots: whole file images read by loads, and blocks for text set since. Text
    // is never changed in place, so a slot may be copied freely; all of it goes at Close.
    class TextStore {
    public:
        const char* Add(std::string_view s);
        const char* Keep(std::shared_ptr<const char> image, size_t size);  // its bytes stay put
        void Clear();
        size_t Bytes() const { return bytes_; }  // all text held, live or replaced

    private:
        std::vector<std::shared_ptr<const char>> images_;
        std::vector<std::unique_ptr<char[]>> blocks_;
        char* current_ = nullptr;
        size_t used_ = 0, capacity_ = 0, bytes_ = 0;
    };
    // Where the file last loaded whole or written lies, and what it was.
    struct FileStamp {
        bool valid = false;
        std::string path;
        TableFileStamp file;
        uint64_t version = 0;  // rowsVersion_ when it held the rows
    };

    // Text replaced by edits stays in the store until the table closes; when the store has grown
    // to twice what it held at the last load or compaction (and by 64 MB at least), the live
    // text is copied to a new store and the old one goes.
    void CompactTextWhenDue();
    size_t compactAt_ = size_t{64} << 20;

    Slot CurrentSlot(const TField& f) const;
    TCell SlotToCell(const Slot& s) const;
    Slot CellToSlot(const TCell& c);
    Variant SlotToVariant(const TField& f, const Slot& s) const;
    int CompareSlots(const TField& field, const Slot& a, const Slot& b, bool ignoreCase) const;
    static bool SameSlot(const Slot& a, const Slot& b);
    // A slot that reads the cell's own value, for comparing while the cell lives.
    static Slot ViewOf(const TCell& c);
    struct SortKey;
    // Rows were added, removed, reordered or rewritten: kept columns are out of date.
    void RowsChanged() { rowsVersion_ = NextRowsVersion(); }
    static uint64_t NextRowsVersion();
    void WriteCurrentCell(TField& f, const TCell& value);
    void CheckBrowseMode();
    void PrepareMove();
    int Position() const;  // zero-based, in the filter list when a filter is on
    void MoveToPosition(int pos);
    void MoveToEnd(bool last);
    void Step(int direction);
    void Notify(TDataEvent e, TField* f = nullptr);
    void SetState(TDataSetState s);
    void AssignAutoInc(Row& row);
    void ResetAutoInc();
    void InsertRowSorted(Row row, int& index);
    bool SortRows();  // true when the order changed
    int FilterIndexOf(int row) const;
    void SyncFilterCursor();
    bool RowMatches(int row, const std::vector<int>& keyFields, const std::vector<Variant>& keys,
                    TLocateOptions options) const;
    int FindRow(std::string_view keyFields, const std::vector<Variant>& keys, TLocateOptions options,
                std::vector<int>* fieldsOut = nullptr);
    std::vector<int> SplitFieldNames(std::string_view names) const;
    void RecomputeFilterAfterLoad();
    // Makes the rows from a load's slots, `rows` rows of FieldCount() slots each, in order:
    // numbers them (RecId) and works out the auto-increment state as appending them one by one
    // would have.
    void AdoptLoadedRows(std::vector<Slot> slots, size_t rows);
    // Frees the load's block once fewer than half its rows lie in it, moving those to a smaller one.
    void CompactRowBlockWhenDue();
    bool FinishLoad();  // true when a sort changed the order read
    void LoadImage(TableFileImage image, const std::string* path, const TableFileStamp& stamp);
    // The start of every load: observers held back, the old rows gone, the table open.
    void BeginLoad();

    std::string name_;
    std::vector<std::unique_ptr<TField>> fields_;
    std::unordered_map<std::string, int> fieldsByName_;  // by the name in capitals
    std::unique_ptr<RowBlock> rowBlock_;  // before the rows, which count themselves out of it
    std::vector<Row> rows_;
    TextStore text_;
    std::vector<int> filterList_;
    uint64_t rowsVersion_ = NextRowsVersion();
    // Whether the rows, as they stand at stamp_.version, write the bytes of the file in stamp_.
    FileStamp stamp_;
    // A kept copy of one integer field, for FindIntegerRows.
    struct TIntegerColumn {
        int field = -1;
        uint64_t version = 0;
        bool valid = false;
        std::vector<int64_t> values;
        std::vector<uint8_t> present;  // 0 for a cell that holds no integer
    };
    mutable TIntegerColumn integerColumn_;
    std::vector<int64_t> highest_;  // per field: highest auto-increment value seen
    TBookmark lastBookmark_ = 0;
    int curRec_ = -1;
    int filterCurRec_ = -1;
    bool bof_ = true;
    bool eof_ = true;
    bool loadFlag_ = false;
    bool loadedWhole_ = true;
    bool copyFlag_ = false;  // LoadFromDataSet: AutoInc values are copied as they stand
    bool isFiltered_ = false;
    bool programmedFilter_ = false;
    TSortOptions sortOptions_ = 0;
    std::string sortedFieldName_;
    TDataSetState state_ = TDataSetState::dsInactive;
    Row pending_;          // the row being edited or inserted
    int insertAt_ = -1;    // Insert: the row before which the new row goes; -1 appends
    int disableCount_ = 0;
    std::vector<IDataObserver*> observers_;
};
