#include "store/MemData.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "base/Exceptions.h"
#include "base/FormatSettings.h"
#include "platform/Text.h"

namespace {

std::string UpperName(std::string_view name) {
    std::string key(name);
    for (char& c : key)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return key;
}

// Tables with more fields than this find them by the name index, fewer by a plain walk.
constexpr size_t kFieldsWalked = 32;

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 32);
        if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 32);
        if (x != y) return false;
    }
    return true;
}

std::string Trim(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t')) ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t')) --e;
    return std::string(s.substr(b, e - b));
}

bool IsIntegerKind(TFieldType t) {
    switch (t) {
        case TFieldType::ftSmallint:
        case TFieldType::ftInteger:
        case TFieldType::ftWord:
        case TFieldType::ftAutoInc:
        case TFieldType::ftLargeint:
        case TFieldType::ftLongWord:
        case TFieldType::ftShortint:
        case TFieldType::ftByte:
            return true;
        default:
            return false;
    }
}

bool IsFloatKind(TFieldType t) {
    return t == TFieldType::ftFloat || t == TFieldType::ftBCD || t == TFieldType::ftFMTBcd ||
           t == TFieldType::ftExtended;
}

bool IsDateKind(TFieldType t) {
    return t == TFieldType::ftDate || t == TFieldType::ftTime || t == TFieldType::ftDateTime ||
           t == TFieldType::ftTimeStamp;
}

bool IsSingleByteText(TFieldType t) {
    return t == TFieldType::ftString || t == TFieldType::ftGuid || t == TFieldType::ftMemo ||
           t == TFieldType::ftFmtMemo;
}

// Keeps at most n UTF-16 code units of UTF-8 text, never splitting a character.
std::string CutWide(const std::string& utf8, int n) {
    std::u16string w = platform::Utf8ToUtf16(utf8);
    if (static_cast<int>(w.size()) <= n) return utf8;
    size_t keep = static_cast<size_t>(std::max(n, 0));
    if (keep > 0 && w[keep - 1] >= 0xD800 && w[keep - 1] < 0xDC00) --keep;
    return platform::Utf16ToUtf8(std::u16string_view(w).substr(0, keep));
}

// "#0.00"-style display formats: the count of digits after the point.
std::string FormatFixed(double v, const std::string& format) {
    size_t dot = format.find('.');
    int decimals = 0;
    if (dot != std::string::npos)
        for (size_t i = dot + 1; i < format.size() && (format[i] == '0' || format[i] == '#'); ++i)
            ++decimals;
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    return buf;
}

}  // namespace

std::pair<int64_t, int64_t> IntegerRange(TFieldType t) {
    switch (t) {
        case TFieldType::ftSmallint: return {INT16_MIN, INT16_MAX};
        case TFieldType::ftWord: return {0, UINT16_MAX};
        case TFieldType::ftShortint: return {INT8_MIN, INT8_MAX};
        case TFieldType::ftByte: return {0, UINT8_MAX};
        case TFieldType::ftLongWord: return {0, UINT32_MAX};
        case TFieldType::ftLargeint: return {INT64_MIN, INT64_MAX};
        default: return {INT32_MIN, INT32_MAX};  // Integer, AutoInc
    }
}

const char* FieldTypeName(TFieldType t) {
    static const char* names[] = {"Unknown", "String", "Smallint", "Integer", "Word", "Boolean",
                                  "Float", "Currency", "BCD", "Date", "Time", "DateTime",
                                  "AutoInc", "Blob", "Memo", "Graphic", "FmtMemo", "ParadoxOle",
                                  "DBaseOle", "TypedBinary", "WideString", "Largeint", "Guid",
                                  "TimeStamp", "FMTBcd", "WideMemo", "LongWord", "Shortint",
                                  "Byte", "Extended"};
    auto i = static_cast<int>(t);
    return i >= 0 && i <= 29 ? names[i] : "Unknown";
}

const char* DataSetStateName(TDataSetState s) {
    switch (s) {
        case TDataSetState::dsInactive: return "Inactive";
        case TDataSetState::dsBrowse: return "Browse";
        case TDataSetState::dsEdit: return "Edit";
        case TDataSetState::dsInsert: return "Insert";
    }
    return "Inactive";
}

// ---- TField ----------------------------------------------------------------------------------

bool IsBlobType(TFieldType t) {
    switch (t) {
        case TFieldType::ftBlob:
        case TFieldType::ftMemo:
        case TFieldType::ftGraphic:
        case TFieldType::ftFmtMemo:
        case TFieldType::ftParadoxOle:
        case TFieldType::ftDBaseOle:
        case TFieldType::ftTypedBinary:
        case TFieldType::ftWideMemo:
            return true;
        default:
            return false;
    }
}

bool TField::IsBlob() const { return IsBlobType(type_); }

bool TField::IsAutoInc() const {
    return type_ == TFieldType::ftAutoInc || (index_ == 0 && kind_ == TFieldKind::fkCalculated);
}

Variant TField::CellToVariant(const TCell& c) const {
    if (std::holds_alternative<std::monostate>(c)) return Variant();
    if (const auto* s = std::get_if<std::string>(&c)) {
        if (IsSingleByteText(type_)) return Variant(platform::AnsiToUtf8(*s));
        return Variant(*s);
    }
    if (const auto* i = std::get_if<int64_t>(&c)) {
        if (type_ == TFieldType::ftBoolean) return Variant(*i != 0);
        if (type_ == TFieldType::ftCurrency) return Variant(Currency::FromRaw(*i));
        return Variant(*i);
    }
    double d = std::get<double>(c);
    if (IsDateKind(type_)) return Variant::FromDate(d);
    return Variant(d);
}

TCell TField::VariantToCell(const Variant& v) const {
    if (v.IsNull()) return TCell{};
    if (IsSingleByteText(type_)) {
        std::string a = platform::Utf8ToAnsi(v.AsString());
        if (!IsBlob() && size_ >= 0 && a.size() > static_cast<size_t>(size_)) a.resize(size_);
        return TCell{std::move(a)};
    }
    if (type_ == TFieldType::ftWideString) return TCell{CutWide(v.AsString(), size_)};
    if (type_ == TFieldType::ftWideMemo || IsBlob()) return TCell{v.AsString()};
    if (type_ == TFieldType::ftBoolean) return TCell{int64_t{v.AsBoolean() ? 1 : 0}};
    if (type_ == TFieldType::ftCurrency) return TCell{v.AsCurrency().value};
    if (IsIntegerKind(type_)) {
        int64_t x;
        try {
            x = v.AsInt64();
        } catch (const EVariantError&) {
            throw EConvertError("'" + v.AsString() + "' is not a valid integer value for field '" +
                                name_ + "'");
        }
        const auto [lo, hi] = IntegerRange(type_);
        if (x < lo || x > hi)
            throw EDatabaseError(std::to_string(x) + " is not a valid value for field '" + name_ +
                                 "'. The allowed range is " + std::to_string(lo) + " to " +
                                 std::to_string(hi));
        return TCell{x};
    }
    if (IsDateKind(type_)) {
        TDateTime d;
        try {
            d = v.AsDateTime();
        } catch (const EVariantError&) {
            throw EConvertError("'" + v.AsString() + "' is not a valid date and time");
        }
        if (!std::isfinite(d)) throw EConvertError("Invalid date value for field '" + name_ + "'");
        // A day or a time of day is a day of the calendar, or of none.
        if ((type_ == TFieldType::ftDate || type_ == TFieldType::ftTime) && !SplittableDate(d))
            throw EConvertError("Invalid date value for field '" + name_ + "'");
        if (type_ == TFieldType::ftDate) d = DateOf(d);
        if (type_ == TFieldType::ftTime) d = TimeOf(d);
        return TCell{d};
    }
    double d;
    try {
        d = v.AsDouble();
    } catch (const EVariantError&) {
        throw EConvertError("'" + v.AsString() + "' is not a valid floating point value");
    }
    return TCell{d};
}

std::string TField::CellDisplayText(const TCell& c) const {
    if (std::holds_alternative<std::monostate>(c)) return "";
    // A date beyond the calendar (read so from a damaged file) shows as its plain day count.
    if (IsDateKind(type_) && !SplittableDate(std::get<double>(c))) return FloatToShortest(std::get<double>(c));
    switch (type_) {
        case TFieldType::ftDate: return DateToStr(std::get<double>(c));
        case TFieldType::ftTime: return TimeToStr(std::get<double>(c));
        case TFieldType::ftDateTime:
        case TFieldType::ftTimeStamp: return DateTimeToStr(std::get<double>(c));
        case TFieldType::ftCurrency: {
            double d = Currency::FromRaw(std::get<int64_t>(c)).ToDouble();
            return DisplayFormat.empty() ? FormatFixed(d, "0.00") : FormatFixed(d, DisplayFormat);
        }
        default: break;
    }
    if (IsFloatKind(type_) && !DisplayFormat.empty())
        return FormatFixed(std::get<double>(c), DisplayFormat);
    return CellToVariant(c).AsString();
}

Variant TField::TextToVariant(std::string_view stored) const {
    if (IsSingleByteText(type_)) return Variant(platform::AnsiToUtf8(stored));
    return Variant(std::string(stored));
}

Variant TField::Value() const { return owner_->SlotToVariant(*this, owner_->CurrentSlot(*this)); }
void TField::SetValue(const Variant& v) { owner_->WriteCurrentCell(*this, VariantToCell(v)); }
bool TField::IsNull() const { return owner_->CurrentSlot(*this).kind == TdxMemData::SlotKind::None; }
void TField::Clear() { owner_->WriteCurrentCell(*this, TCell{}); }
std::string TField::AsString() const { return Value().AsString(); }
void TField::SetAsString(std::string_view s) { SetValue(Variant(std::string(s))); }
int TField::AsInteger() const { return IsNull() ? 0 : Value().AsInteger(); }
void TField::SetAsInteger(int v) { SetValue(Variant(v)); }
double TField::AsFloat() const { return IsNull() ? 0.0 : Value().AsDouble(); }
void TField::SetAsFloat(double v) { SetValue(Variant(v)); }
Currency TField::AsCurrency() const { return IsNull() ? Currency{} : Value().AsCurrency(); }
void TField::SetAsCurrency(Currency v) { SetValue(Variant(v)); }
TDateTime TField::AsDateTime() const { return IsNull() ? 0.0 : Value().AsDateTime(); }
void TField::SetAsDateTime(TDateTime v) { SetValue(Variant::FromDate(v)); }
bool TField::AsBoolean() const { return IsNull() ? false : Value().AsBoolean(); }
void TField::SetAsBoolean(bool v) { SetValue(Variant(v)); }
std::string TField::DisplayText() const { return CellDisplayText(owner_->SlotToCell(owner_->CurrentSlot(*this))); }

// ---- TdxMemData: the text store and slots -----------------------------------------------------

namespace {
constexpr size_t kTextBlock = size_t{64} << 10;
}  // namespace

const char* TdxMemData::TextStore::Add(std::string_view s) {
    if (s.empty()) return "";
    bytes_ += s.size();
    if (s.size() > kTextBlock / 4) {
        blocks_.emplace_back(new char[s.size()]);
        std::memcpy(blocks_.back().get(), s.data(), s.size());
        return blocks_.back().get();
    }
    if (capacity_ - used_ < s.size()) {
        blocks_.emplace_back(new char[kTextBlock]);
        current_ = blocks_.back().get();
        used_ = 0;
        capacity_ = kTextBlock;
    }
    char* at = current_ + used_;
    std::memcpy(at, s.data(), s.size());
    used_ += s.size();
    return at;
}

const char* TdxMemData::TextStore::Keep(std::shared_ptr<const char> image, size_t size) {
    bytes_ += size;
    images_.push_back(std::move(image));
    return images_.back().get();
}

void TdxMemData::TextStore::Clear() {
    images_.clear();
    blocks_.clear();
    current_ = nullptr;
    used_ = capacity_ = bytes_ = 0;
}

void TdxMemData::CompactTextWhenDue() {
    if (text_.Bytes() < compactAt_) return;
    TextStore fresh;
    auto keep = [&](Slot& s) {
        if (s.kind == SlotKind::Text) s.p = fresh.Add(s.Text());
    };
    for (Row& r : rows_)
        for (Slot& s : r.cells) keep(s);
    for (Slot& s : pending_.cells) keep(s);
    text_ = std::move(fresh);
    compactAt_ = 2 * text_.Bytes() + (size_t{64} << 20);
}

TCell TdxMemData::SlotToCell(const Slot& s) const {
    switch (s.kind) {
        case SlotKind::Int: return TCell{s.i};
        case SlotKind::Real: return TCell{s.d};
        case SlotKind::Text: return TCell{std::string(s.Text())};
        case SlotKind::None: break;
    }
    return TCell{};
}

TdxMemData::Slot TdxMemData::CellToSlot(const TCell& c) {
    Slot s;
    if (const auto* i = std::get_if<int64_t>(&c)) {
        s.kind = SlotKind::Int;
        s.i = *i;
    } else if (const auto* d = std::get_if<double>(&c)) {
        s.kind = SlotKind::Real;
        s.d = *d;
    } else if (const auto* t = std::get_if<std::string>(&c)) {
        if (t->size() > std::numeric_limits<uint32_t>::max())
            throw EDatabaseError(name_ + ": a value of " + std::to_string(t->size()) + " bytes is too long to keep");
        s.kind = SlotKind::Text;
        s.p = text_.Add(*t);
        s.len = static_cast<uint32_t>(t->size());
    }
    return s;
}

Variant TdxMemData::SlotToVariant(const TField& f, const Slot& s) const {
    switch (s.kind) {
        case SlotKind::Int: return f.CellToVariant(TCell{s.i});
        case SlotKind::Real: return f.CellToVariant(TCell{s.d});
        case SlotKind::Text: return f.TextToVariant(s.Text());
        case SlotKind::None: break;
    }
    return Variant();
}

bool TdxMemData::SameSlot(const Slot& a, const Slot& b) {
    if (a.kind != b.kind) return false;
    switch (a.kind) {
        case SlotKind::Int: return a.i == b.i;
        case SlotKind::Real: return std::memcmp(&a.d, &b.d, sizeof a.d) == 0;
        case SlotKind::Text: return a.Text() == b.Text();
        case SlotKind::None: break;
    }
    return true;
}

// ---- TdxMemData: fields and state -------------------------------------------------------------

uint64_t TdxMemData::NextRowsVersion() {
    static std::atomic<uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

TdxMemData::TdxMemData(std::string name) : name_(std::move(name)) {
    TField& rec = AddField("RecId", TFieldType::ftInteger, 0, TFieldKind::fkCalculated);
    rec.Visible = false;
}

TdxMemData::~TdxMemData() = default;

TField& TdxMemData::AddField(std::string name, TFieldType type, int size, TFieldKind kind) {
    if (FindField(name)) throw EDatabaseError(name_ + ": Duplicate field name '" + name + "'");
    if (static_cast<int>(type) < 1 || static_cast<int>(type) > 29)
        throw EDatabaseError(name_ + ": Field '" + name + "' is of an unknown type");
    if (size < 0) size = 0;
    int index = static_cast<int>(fields_.size());
    fields_.push_back(std::unique_ptr<TField>(new TField(this, std::move(name), type, size, kind, index)));
    fieldsByName_.emplace(UpperName(fields_.back()->FieldName()), index);
    highest_.push_back(0);
    for (Row& r : rows_) r.cells.emplace_back();
    CompactRowBlockWhenDue();
    RowsChanged();
    stamp_.valid = false;  // the file holds other columns
    pending_.cells.emplace_back();
    return *fields_.back();
}

TField* TdxMemData::FindField(std::string_view name) const {
    if (fields_.size() > kFieldsWalked) {
        auto it = fieldsByName_.find(UpperName(name));
        return it == fieldsByName_.end() ? nullptr : fields_[static_cast<size_t>(it->second)].get();
    }
    for (const auto& f : fields_)
        if (SameName(f->FieldName(), name)) return f.get();
    return nullptr;
}

TField& TdxMemData::FieldByName(std::string_view name) const {
    TField* f = FindField(name);
    if (!f) throw EDatabaseError(name_ + ": Field '" + std::string(name) + "' not found");
    return *f;
}

void TdxMemData::Open() {
    if (Active()) return;
    SetState(TDataSetState::dsBrowse);
    curRec_ = -1;
    filterCurRec_ = -1;
    First();
    Notify(TDataEvent::DataSetChange);
}

void TdxMemData::Close() {
    rows_.clear();
    std::vector<Row>().swap(rows_);
    rowBlock_.reset();
    RowsChanged();
    filterList_.clear();
    lastBookmark_ = 0;
    curRec_ = -1;
    filterCurRec_ = -1;
    bof_ = eof_ = true;
    ResetAutoInc();
    for (Slot& c : pending_.cells) c = Slot{};
    text_.Clear();
    insertAt_ = -1;
    SetState(TDataSetState::dsInactive);
    Notify(TDataEvent::DataSetChange);
}

void TdxMemData::SetActive(bool value) {
    if (value) Open();
    else if (Active()) Close();
}

void TdxMemData::SetState(TDataSetState s) {
    if (state_ == s) return;
    state_ = s;
    Notify(TDataEvent::StateChange);
}

void TdxMemData::ResetAutoInc() { std::fill(highest_.begin(), highest_.end(), 0); }

void TdxMemData::Notify(TDataEvent e, TField* f) {
    if (disableCount_ > 0) return;
    std::vector<IDataObserver*> copy = observers_;
    for (IDataObserver* o : copy)
        if (std::find(observers_.begin(), observers_.end(), o) != observers_.end())
            o->DataEvent(*this, e, f);
}

void TdxMemData::AddObserver(IDataObserver* o) {
    if (o && std::find(observers_.begin(), observers_.end(), o) == observers_.end())
        observers_.push_back(o);
}

void TdxMemData::RemoveObserver(IDataObserver* o) {
    observers_.erase(std::remove(observers_.begin(), observers_.end(), o), observers_.end());
}

void TdxMemData::DisableControls() { ++disableCount_; }

void TdxMemData::EnableControls() {
    if (disableCount_ == 0) return;
    if (--disableCount_ == 0) Notify(TDataEvent::DataSetChange);
}

void TdxMemData::Refresh() {
    CheckBrowseMode();
    Notify(TDataEvent::DataSetChange);
}

// ---- cursor ------------------------------------------------------------------------------------

int TdxMemData::RecordCount() const {
    if (!Active()) return 0;
    return isFiltered_ ? static_cast<int>(filterList_.size()) : static_cast<int>(rows_.size());
}

int TdxMemData::RecNo() const {
    if (isFiltered_) return filterCurRec_ + 1;
    return curRec_ + 1;
}

void TdxMemData::CheckBrowseMode() {
    if (state_ == TDataSetState::dsEdit || state_ == TDataSetState::dsInsert) Post();
}

void TdxMemData::PrepareMove() {
    if (!Active()) throw EDatabaseError(name_ + ": Cannot perform this operation on a closed dataset");
    CheckBrowseMode();
}

int TdxMemData::Position() const { return isFiltered_ ? filterCurRec_ : curRec_; }

void TdxMemData::MoveToPosition(int pos) {
    if (isFiltered_) {
        filterCurRec_ = pos;
        curRec_ = filterList_[static_cast<size_t>(pos)] - 1;
    } else {
        curRec_ = pos;
    }
}

void TdxMemData::MoveToEnd(bool last) {
    PrepareMove();
    int n = RecordCount();
    if (n == 0) {
        curRec_ = -1;
        filterCurRec_ = -1;
        bof_ = eof_ = true;
    } else {
        MoveToPosition(last ? n - 1 : 0);
        bof_ = !last;
        eof_ = last;
    }
    Notify(TDataEvent::DataSetScroll);
}

void TdxMemData::Step(int direction) {
    PrepareMove();
    int n = RecordCount();
    int target = Position() + direction;
    if (n == 0) {
        bof_ = eof_ = true;
    } else if (target >= 0 && target < n) {
        MoveToPosition(target);
        bof_ = eof_ = false;
    } else {
        // Past an end: the cursor stays on the last (first) row.
        eof_ = direction > 0;
        bof_ = direction < 0;
    }
    Notify(TDataEvent::DataSetScroll);
}

void TdxMemData::First() { MoveToEnd(false); }
void TdxMemData::Last() { MoveToEnd(true); }
void TdxMemData::Next() { Step(1); }
void TdxMemData::Prior() { Step(-1); }

void TdxMemData::SetRecNo(int value) {
    CheckBrowseMode();
    // The bound is the whole table's count, also under a filter.
    if (value < 1 || value > static_cast<int>(rows_.size())) return;
    if (isFiltered_) {
        if (value > static_cast<int>(filterList_.size()))
            throw EListError("List index out of bounds (" + std::to_string(value - 1) + ")");
        filterCurRec_ = value - 1;
        curRec_ = filterList_[filterCurRec_] - 1;
    } else {
        curRec_ = value - 1;
    }
    bof_ = eof_ = false;
    Notify(TDataEvent::DataSetScroll);
}

int TdxMemData::FilterIndexOf(int row) const {
    for (size_t i = 0; i < filterList_.size(); ++i)
        if (filterList_[i] == row + 1) return static_cast<int>(i);
    return -1;
}

void TdxMemData::GotoRow(int row) {
    CheckBrowseMode();
    if (row < 0 || row >= static_cast<int>(rows_.size()))
        throw EDatabaseError(name_ + ": Record not found");
    curRec_ = row;
    if (isFiltered_) {
        int f = FilterIndexOf(row);
        if (f >= 0) filterCurRec_ = f;
    }
    bof_ = eof_ = false;
    Notify(TDataEvent::DataSetScroll);
}

std::vector<int> TdxMemData::VisibleRows() const {
    std::vector<int> out;
    if (isFiltered_) {
        out.reserve(filterList_.size());
        for (int p : filterList_) out.push_back(p - 1);
    } else {
        out.resize(rows_.size());
        for (size_t i = 0; i < rows_.size(); ++i) out[i] = static_cast<int>(i);
    }
    return out;
}

TCell TdxMemData::Cell(int row, int field) const {
    return SlotToCell(rows_.at(static_cast<size_t>(row)).cells.at(static_cast<size_t>(field)));
}

TCellView TdxMemData::CellView(int row, int field) const {
    const Slot& s = rows_.at(static_cast<size_t>(row)).cells.at(static_cast<size_t>(field));
    switch (s.kind) {
        case SlotKind::Int: return TCellView{s.i};
        case SlotKind::Real: return TCellView{s.d};
        case SlotKind::Text: return TCellView{s.Text()};
        case SlotKind::None: break;
    }
    return TCellView{};
}

bool TdxMemData::SameCell(int row, int field, const TCell& value) const {
    const Slot& s = rows_.at(static_cast<size_t>(row)).cells.at(static_cast<size_t>(field));
    switch (s.kind) {
        case SlotKind::None: return std::holds_alternative<std::monostate>(value);
        case SlotKind::Int: {
            const auto* v = std::get_if<int64_t>(&value);
            return v && *v == s.i;
        }
        case SlotKind::Real: {
            const auto* v = std::get_if<double>(&value);
            return v && std::memcmp(v, &s.d, sizeof s.d) == 0;
        }
        case SlotKind::Text: {
            const auto* v = std::get_if<std::string>(&value);
            return v && std::string_view(*v) == s.Text();
        }
    }
    return false;
}

int TdxMemData::CompareRowCells(const TField& field, int rowA, int rowB, bool ignoreCase) const {
    const size_t fi = static_cast<size_t>(field.Index());
    return CompareSlots(field, rows_.at(static_cast<size_t>(rowA)).cells.at(fi),
                        rows_.at(static_cast<size_t>(rowB)).cells.at(fi), ignoreCase);
}

void TdxMemData::FindIntegerRows(int field, int64_t value, std::vector<int>& positions) const {
    if (field < 0 || field >= FieldCount()) throw EDatabaseError("Field index out of range");
    TIntegerColumn& c = integerColumn_;
    if (!c.valid || c.field != field || c.version != rowsVersion_) {
        const size_t n = rows_.size();
        c.values.assign(n, 0);
        c.present.assign(n, 0);
        for (size_t r = 0; r < n; ++r)
            if (const Slot& v = rows_[r].cells[static_cast<size_t>(field)]; v.kind == SlotKind::Int) {
                c.values[r] = v.i;
                c.present[r] = 1;
            }
        c.field = field;
        c.version = rowsVersion_;
        c.valid = true;
    }
    const size_t n = c.values.size();
    const int64_t* values = c.values.data();
    const uint8_t* present = c.present.data();
    for (size_t r = 0; r < n; ++r)
        if (values[r] == value && present[r]) positions.push_back(static_cast<int>(r) + 1);
}

Variant TdxMemData::RowValue(int row, const TField& field) const {
    return SlotToVariant(field, rows_.at(static_cast<size_t>(row)).cells.at(static_cast<size_t>(field.Index())));
}

TBookmark TdxMemData::RowBookmark(int row) const { return rows_.at(static_cast<size_t>(row)).bookmark; }

int TdxMemData::RowOfBookmark(TBookmark b) const {
    for (size_t i = 0; i < rows_.size(); ++i)
        if (rows_[i].bookmark == b) return static_cast<int>(i);
    return -1;
}

TBookmark TdxMemData::GetBookmark() const {
    if (curRec_ < 0 || curRec_ >= static_cast<int>(rows_.size())) return 0;
    return rows_[curRec_].bookmark;
}

void TdxMemData::GotoBookmark(TBookmark b) {
    CheckBrowseMode();
    if (b == 0) return;  // the bookmark of no row (an empty table's) leads nowhere
    int row = RowOfBookmark(b);
    if (row < 0) throw EDatabaseError(name_ + ": Record not found");
    GotoRow(row);
}

bool TdxMemData::BookmarkValid(TBookmark b) const { return RowOfBookmark(b) >= 0; }

// ---- editing -----------------------------------------------------------------------------------

TdxMemData::Slot TdxMemData::CurrentSlot(const TField& f) const {
    if (state_ == TDataSetState::dsEdit || state_ == TDataSetState::dsInsert)
        return pending_.cells[static_cast<size_t>(f.Index())];
    if (curRec_ >= 0 && curRec_ < static_cast<int>(rows_.size()))
        return rows_[curRec_].cells[static_cast<size_t>(f.Index())];
    return Slot{};
}

void TdxMemData::WriteCurrentCell(TField& f, const TCell& value) {
    if (state_ != TDataSetState::dsEdit && state_ != TDataSetState::dsInsert)
        throw EDatabaseError(name_ + ": Dataset not in edit or insert mode");
    if (f.FieldKind() == TFieldKind::fkCalculated && !loadFlag_)
        throw EDatabaseError(name_ + ": Field '" + f.FieldName() + "' cannot be modified");
    pending_.cells[static_cast<size_t>(f.Index())] = CellToSlot(value);
    if (!loadFlag_ && f.OnChange) f.OnChange(f);
    Notify(TDataEvent::RecordChange, &f);
}

Variant TdxMemData::FieldValues(std::string_view name) const { return FieldByName(name).Value(); }

void TdxMemData::SetFieldValues(std::string_view name, const Variant& v) { FieldByName(name).SetValue(v); }

void TdxMemData::Edit() {
    if (!Active()) throw EDatabaseError(name_ + ": Cannot perform this operation on a closed dataset");
    if (state_ == TDataSetState::dsEdit || state_ == TDataSetState::dsInsert) return;
    // A table that shows no row takes Edit as an insert.
    if (RecordCount() == 0 || curRec_ < 0 || curRec_ >= static_cast<int>(rows_.size())) {
        Insert();
        return;
    }
    pending_ = rows_[curRec_];
    SetState(TDataSetState::dsEdit);
}

void TdxMemData::Append() {
    if (!Active()) throw EDatabaseError(name_ + ": Cannot perform this operation on a closed dataset");
    CheckBrowseMode();
    pending_.cells.assign(fields_.size(), Slot{});
    pending_.bookmark = 0;
    insertAt_ = -1;
    SetState(TDataSetState::dsInsert);
}

void TdxMemData::Insert() {
    if (!Active()) throw EDatabaseError(name_ + ": Cannot perform this operation on a closed dataset");
    CheckBrowseMode();
    pending_.cells.assign(fields_.size(), Slot{});
    pending_.bookmark = 0;
    insertAt_ = curRec_ >= 0 && curRec_ < static_cast<int>(rows_.size()) ? curRec_ : -1;
    SetState(TDataSetState::dsInsert);
}

void TdxMemData::Cancel() {
    if (state_ != TDataSetState::dsEdit && state_ != TDataSetState::dsInsert) return;
    for (Slot& c : pending_.cells) c = Slot{};
    insertAt_ = -1;
    SetState(TDataSetState::dsBrowse);
    Notify(TDataEvent::DataSetChange);
}

void TdxMemData::AssignAutoInc(Row& row) {
    // Every field is checked before the first is numbered, so a row that can't be numbered is
    // left as it was.
    for (int pass = 0; pass < 2; ++pass) {
        for (size_t i = 0; i < fields_.size(); ++i) {
            const TField& f = *fields_[i];
            if (!f.IsAutoInc()) continue;
            Slot& c = row.cells[i];
            const int64_t* v = c.kind == SlotKind::Int ? &c.i : nullptr;
            bool keepAsGiven = loadFlag_ || (copyFlag_ && f.DataType() == TFieldType::ftAutoInc);
            if (v && *v > highest_[i]) {
                if (pass == 1) highest_[i] = *v;
            } else if (v && keepAsGiven) {
                // kept as it stands
            } else {
                const int64_t hi = IntegerRange(f.DataType()).second;
                if (highest_[i] < hi) {
                    if (pass == 1) {
                        c.kind = SlotKind::Int;
                        c.i = ++highest_[i];
                    }
                } else if (!loadFlag_) {
                    // The counter stands at the top of its kind: there is no next number.
                    throw EDatabaseError(name_ + ": field '" + f.FieldName() + "' has reached " +
                                         std::to_string(hi) + ", the largest value it can hold");
                }
                // A row read from a file keeps no value rather than one its field can't hold.
            }
        }
    }
}

void TdxMemData::AdoptLoadedRows(std::vector<Slot> slots, size_t rows) {
    const size_t n = fields_.size();
    if (rows == 0 || n == 0) return;
    // As each row appended in turn would be numbered while loading: a value above the highest
    // raises it, any other value stays, and a row without one takes the next number while its
    // kind has one. RecId, the first field, counts the rows from one.
    struct Counter {
        size_t field;
        int64_t hi;
    };
    std::vector<Counter> counters;
    for (size_t i = 1; i < n; ++i) {
        if (!fields_[i]->IsAutoInc()) continue;
        counters.push_back({i, IntegerRange(fields_[i]->DataType()).second});
    }
    for (size_t r = 0; r < rows; ++r) {
        Slot* row = slots.data() + r * n;
        row[0].kind = SlotKind::Int;
        row[0].i = static_cast<int64_t>(r) + 1;
        for (const Counter& c : counters) {
            Slot& s = row[c.field];
            int64_t& highest = highest_[c.field];
            if (s.kind == SlotKind::Int) {
                if (s.i > highest) highest = s.i;
            } else if (highest < c.hi) {
                s.kind = SlotKind::Int;
                s.i = ++highest;
            }
        }
    }
    highest_[0] = std::max(highest_[0], static_cast<int64_t>(rows));
    if (slots.capacity() > slots.size() + slots.size() / 8) slots.shrink_to_fit();
    rowBlock_ = std::make_unique<RowBlock>();
    rowBlock_->slots = std::move(slots);
    rowBlock_->rows = rows;
    rows_.reserve(rows_.size() + rows);
    for (size_t r = 0; r < rows; ++r) rows_.push_back(Row{RowCells(*rowBlock_, r * n, n), 0});
}

struct TdxMemData::SortKey {
    const TdxMemData* table;
    const TField* field;
    bool desc;
    bool ignoreCase;
    bool Less(const Slot& a, const Slot& b) const {
        int r = table->CompareSlots(*field, a, b, ignoreCase);
        return desc ? r > 0 : r < 0;
    }
};

void TdxMemData::InsertRowSorted(Row row, int& index) {
    TField* f = sortedFieldName_.empty() ? nullptr : FindField(sortedFieldName_);
    if (!f) {
        if (index < 0 || index > static_cast<int>(rows_.size())) index = static_cast<int>(rows_.size());
        rows_.insert(rows_.begin() + index, std::move(row));
        return;
    }
    SortKey key{this, f, (sortOptions_ & soDesc) != 0, (sortOptions_ & soCaseInsensitive) != 0};
    size_t fi = static_cast<size_t>(f->Index());
    // After the rows that sort equal to it, so that equal values keep together.
    auto it = std::upper_bound(rows_.begin(), rows_.end(), row, [&](const Row& a, const Row& b) {
        return key.Less(a.cells[fi], b.cells[fi]);
    });
    index = static_cast<int>(it - rows_.begin());
    rows_.insert(it, std::move(row));
}

void TdxMemData::Post() {
    if (state_ != TDataSetState::dsEdit && state_ != TDataSetState::dsInsert) return;
    // A copy from another table appends, and sorts once at its end (see LoadFromDataSet).
    bool sorted = !sortedFieldName_.empty() && FindField(sortedFieldName_) && !copyFlag_;
    if (state_ == TDataSetState::dsEdit) {
        if (curRec_ < 0 || curRec_ >= static_cast<int>(rows_.size())) {
            Cancel();
            return;
        }
        // A row posted as it was changes nothing of the table, nor of its file.
        const RowCells& was = rows_[curRec_].cells;
        bool same = !sorted && was.size() == pending_.cells.size();
        for (size_t i = 0; same && i < was.size(); ++i) same = SameSlot(was[i], pending_.cells[i]);
        if (!same) RowsChanged();
        if (!sorted) {
            rows_[curRec_].cells = pending_.cells;  // in the row's own place
        } else {
            // The row may change its place: the filter list follows its rows by bookmark.
            std::vector<TBookmark> shown;
            for (int p : filterList_) shown.push_back(rows_[p - 1].bookmark);
            rows_.erase(rows_.begin() + curRec_);
            int at = -1;
            InsertRowSorted(std::move(pending_), at);
            curRec_ = at;
            for (size_t i = 0; i < shown.size(); ++i) filterList_[i] = RowOfBookmark(shown[i]) + 1;
        }
    } else {
        RowsChanged();
        AssignAutoInc(pending_);  // may raise, and then the new row stays pending
        Row row = std::move(pending_);
        row.bookmark = ++lastBookmark_;
        int at = insertAt_;
        if (sorted || at >= 0) {
            InsertRowSorted(std::move(row), at);
            // Rows after the new one move down by one; the filter keeps showing the same rows.
            for (int& p : filterList_)
                if (p - 1 >= at) ++p;
        } else {
            rows_.push_back(std::move(row));
            at = static_cast<int>(rows_.size()) - 1;
        }
        curRec_ = at;
    }
    pending_.cells.assign(fields_.size(), Slot{});
    insertAt_ = -1;
    CompactRowBlockWhenDue();
    CompactTextWhenDue();
    // A row the filter does not show leaves a view with no rows at both ends.
    bof_ = eof_ = RecordCount() == 0;
    SetState(TDataSetState::dsBrowse);
    Notify(TDataEvent::DataSetChange);
}

void TdxMemData::Delete() {
    if (!Active()) throw EDatabaseError(name_ + ": Cannot perform this operation on a closed dataset");
    if (state_ == TDataSetState::dsInsert) {
        Cancel();
        return;
    }
    if (state_ == TDataSetState::dsEdit) {
        pending_.cells.assign(fields_.size(), Slot{});
        SetState(TDataSetState::dsBrowse);
    }
    if (RecordCount() == 0 || curRec_ < 0 || curRec_ >= static_cast<int>(rows_.size()))
        throw EDatabaseError(name_ + ": Cannot perform this operation on an empty dataset");
    if (BeforeDelete) BeforeDelete(*this);
    CheckBrowseMode();
    if (curRec_ < 0 || curRec_ >= static_cast<int>(rows_.size())) return;
    int removed = curRec_;
    rows_.erase(rows_.begin() + removed);
    CompactRowBlockWhenDue();
    RowsChanged();
    if (isFiltered_) {
        int f = FilterIndexOf(removed);
        if (f >= 0) {
            filterList_.erase(filterList_.begin() + f);
            filterCurRec_ = f;
        }
        for (int& p : filterList_)
            if (p > removed + 1) --p;
        int n = static_cast<int>(filterList_.size());
        if (filterCurRec_ >= n) filterCurRec_ = n - 1;
        curRec_ = filterCurRec_ >= 0 ? filterList_[filterCurRec_] - 1 : -1;
    } else {
        int n = static_cast<int>(rows_.size());
        if (curRec_ >= n) curRec_ = n - 1;
    }
    bof_ = eof_ = RecordCount() == 0;
    Notify(TDataEvent::DataSetChange);
}

// ---- comparing, locating -----------------------------------------------------------------------

int TdxMemData::CompareCells(const TField& field, const TCell& a, const TCell& b, bool ignoreCase) const {
    bool an = std::holds_alternative<std::monostate>(a);
    bool bn = std::holds_alternative<std::monostate>(b);
    if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
    if (const auto* x = std::get_if<int64_t>(&a)) {
        if (const auto* y = std::get_if<int64_t>(&b)) return *x < *y ? -1 : *x > *y ? 1 : 0;
    }
    if (const auto* x = std::get_if<double>(&a)) {
        if (const auto* y = std::get_if<double>(&b)) return *x < *y ? -1 : *x > *y ? 1 : 0;
    }
    const auto* x = std::get_if<std::string>(&a);
    const auto* y = std::get_if<std::string>(&b);
    if (x && y) {
        if (IsSingleByteText(field.DataType())) return platform::CompareAnsi(*x, *y, ignoreCase);
        if (field.DataType() == TFieldType::ftWideString || field.DataType() == TFieldType::ftWideMemo)
            return platform::CompareText(*x, *y, ignoreCase);
        int r = x->compare(*y);
        return r < 0 ? -1 : r > 0 ? 1 : 0;
    }
    return static_cast<int>(a.index()) - static_cast<int>(b.index());
}

int TdxMemData::CompareSlots(const TField& field, const Slot& a, const Slot& b, bool ignoreCase) const {
    const bool an = a.kind == SlotKind::None, bn = b.kind == SlotKind::None;
    if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
    if (a.kind != b.kind) return static_cast<int>(a.kind) - static_cast<int>(b.kind);
    switch (a.kind) {
        case SlotKind::Int: return a.i < b.i ? -1 : a.i > b.i ? 1 : 0;
        case SlotKind::Real: return a.d < b.d ? -1 : a.d > b.d ? 1 : 0;
        default: break;
    }
    if (IsSingleByteText(field.DataType())) return platform::CompareAnsi(a.Text(), b.Text(), ignoreCase);
    if (field.DataType() == TFieldType::ftWideString || field.DataType() == TFieldType::ftWideMemo)
        return platform::CompareText(a.Text(), b.Text(), ignoreCase);
    const int r = a.Text().compare(b.Text());
    return r < 0 ? -1 : r > 0 ? 1 : 0;
}

std::vector<int> TdxMemData::SplitFieldNames(std::string_view names) const {
    std::vector<int> out;
    size_t start = 0;
    while (start <= names.size()) {
        size_t semi = names.find(';', start);
        std::string one = Trim(names.substr(start, semi == std::string_view::npos ? std::string_view::npos : semi - start));
        if (!one.empty()) out.push_back(FieldByName(one).Index());
        if (semi == std::string_view::npos) break;
        start = semi + 1;
    }
    if (out.empty()) throw EDatabaseError(name_ + ": No key fields given");
    return out;
}

namespace {
// A key for a string field is taken whole, not cut at the field's size.
TCell KeyCell(const TField& f, const Variant& v) {
    if (v.IsNull()) return TCell{};
    switch (f.DataType()) {
        case TFieldType::ftString:
        case TFieldType::ftGuid:
        case TFieldType::ftMemo:
        case TFieldType::ftFmtMemo:
            return TCell{platform::Utf8ToAnsi(v.AsString())};
        case TFieldType::ftWideString:
        case TFieldType::ftWideMemo:
            return TCell{v.AsString()};
        default:
            return f.VariantToCell(v);
    }
}
}  // namespace

TdxMemData::Slot TdxMemData::ViewOf(const TCell& c) {
    Slot s;
    if (const auto* i = std::get_if<int64_t>(&c)) {
        s.kind = SlotKind::Int;
        s.i = *i;
    } else if (const auto* d = std::get_if<double>(&c)) {
        s.kind = SlotKind::Real;
        s.d = *d;
    } else if (const auto* t = std::get_if<std::string>(&c)) {
        s.kind = SlotKind::Text;
        s.p = t->data();
        s.len = static_cast<uint32_t>(std::min<size_t>(t->size(), std::numeric_limits<uint32_t>::max()));
    }
    return s;
}

bool TdxMemData::RowMatches(int row, const std::vector<int>& keyFields, const std::vector<Variant>& keys,
                            TLocateOptions options) const {
    bool ic = (options & loCaseInsensitive) != 0;
    for (size_t k = 0; k < keyFields.size(); ++k) {
        const TField& f = *fields_[static_cast<size_t>(keyFields[k])];
        const Slot& have = rows_[static_cast<size_t>(row)].cells[static_cast<size_t>(f.Index())];
        const TCell wantCell = KeyCell(f, keys[k]);
        const Slot want = ViewOf(wantCell);
        bool wn = want.kind == SlotKind::None;
        bool hn = have.kind == SlotKind::None;
        if (wn || hn) {
            if (wn != hn) return false;
            continue;
        }
        if ((options & loPartialKey) != 0) {
            if (want.kind == SlotKind::Text && have.kind == SlotKind::Text && want.len > 0 && have.len > want.len) {
                Slot prefix = have;
                prefix.len = want.len;
                if (CompareSlots(f, prefix, want, ic) != 0) return false;
                continue;
            }
        }
        if (CompareSlots(f, have, want, ic) != 0) return false;
    }
    return true;
}

int TdxMemData::FindRow(std::string_view keyFields, const std::vector<Variant>& keys,
                        TLocateOptions options, std::vector<int>* fieldsOut) {
    CheckBrowseMode();
    if (!Active() || RecordCount() == 0) return -1;
    std::vector<int> fields = SplitFieldNames(keyFields);
    if (fields.size() != keys.size())
        throw EDatabaseError(name_ + ": " + std::to_string(keys.size()) + " key values given for " +
                             std::to_string(fields.size()) + " key fields");
    if (fieldsOut) *fieldsOut = fields;

    // Shortcut: the single key is the sorted field and no filter is on.
    TField* sorted = sortedFieldName_.empty() ? nullptr : FindField(sortedFieldName_);
    bool ic = (options & loCaseInsensitive) != 0;
    if (sorted && !isFiltered_ && fields.size() == 1 && fields[0] == sorted->Index() &&
        (options & loPartialKey) == 0 && ic == ((sortOptions_ & soCaseInsensitive) != 0)) {
        const TCell wantCell = KeyCell(*sorted, keys[0]);
        const Slot want = ViewOf(wantCell);
        SortKey key{this, sorted, (sortOptions_ & soDesc) != 0, ic};
        size_t fi = static_cast<size_t>(sorted->Index());
        auto it = std::lower_bound(rows_.begin(), rows_.end(), want,
                                   [&](const Row& r, const Slot& w) { return key.Less(r.cells[fi], w); });
        if (it == rows_.end()) return -1;
        int row = static_cast<int>(it - rows_.begin());
        return RowMatches(row, fields, keys, options) ? row : -1;
    }

    if (isFiltered_) {
        for (int p : filterList_)
            if (RowMatches(p - 1, fields, keys, options)) return p - 1;
        return -1;
    }
    for (int r = 0; r < static_cast<int>(rows_.size()); ++r)
        if (RowMatches(r, fields, keys, options)) return r;
    return -1;
}

bool TdxMemData::Locate(std::string_view keyFields, const Variant& keyValue, TLocateOptions options) {
    return Locate(keyFields, std::vector<Variant>{keyValue}, options);
}

bool TdxMemData::Locate(std::string_view keyFields, const std::vector<Variant>& keyValues,
                        TLocateOptions options) {
    int row = FindRow(keyFields, keyValues, options);
    if (row < 0) return false;
    curRec_ = row;
    if (isFiltered_) filterCurRec_ = FilterIndexOf(row);
    bof_ = eof_ = false;
    Notify(TDataEvent::DataSetScroll);
    return true;
}

std::optional<std::vector<Variant>> TdxMemData::Lookup(std::string_view keyFields,
                                                       const std::vector<Variant>& keyValues,
                                                       std::string_view resultFields) {
    int row = FindRow(keyFields, keyValues, 0);
    if (row < 0) return std::nullopt;
    std::vector<Variant> out;
    for (int fi : SplitFieldNames(resultFields)) out.push_back(RowValue(row, *fields_[static_cast<size_t>(fi)]));
    return out;
}

Variant TdxMemData::Lookup(std::string_view keyFields, const Variant& keyValue, std::string_view resultField) {
    auto r = Lookup(keyFields, std::vector<Variant>{keyValue}, resultField);
    if (!r || r->empty()) return Variant();
    return (*r)[0];
}

// ---- filter and sort ---------------------------------------------------------------------------

void TdxMemData::SetFiltered(bool value) {
    if (value == isFiltered_) return;
    CheckBrowseMode();
    if (value) {
        if (!programmedFilter_) {
            filterList_.resize(rows_.size());
            for (size_t i = 0; i < rows_.size(); ++i) filterList_[i] = static_cast<int>(i) + 1;
        }
        // Positions that name no row are dropped, so the cursor never leaves the table.
        int n = static_cast<int>(rows_.size());
        filterList_.erase(std::remove_if(filterList_.begin(), filterList_.end(),
                                         [n](int p) { return p < 1 || p > n; }),
                          filterList_.end());
        isFiltered_ = true;
    } else {
        filterList_.clear();
        isFiltered_ = false;
    }
    // The views hear of the new filter once, with the cursor already on its first row.
    ++disableCount_;
    try {
        if (Active()) First();
    } catch (...) {
        --disableCount_;
        throw;
    }
    --disableCount_;
    Notify(TDataEvent::DataSetChange);
}

bool TdxMemData::SortRows() {
    TField* f = sortedFieldName_.empty() ? nullptr : FindField(sortedFieldName_);
    if (!f || rows_.empty()) return false;
    SortKey key{this, f, (sortOptions_ & soDesc) != 0, (sortOptions_ & soCaseInsensitive) != 0};
    size_t fi = static_cast<size_t>(f->Index());
    // Rows in order already stay as they are: a stable sort would not move them.
    if (std::is_sorted(rows_.begin(), rows_.end(),
                       [&](const Row& a, const Row& b) { return key.Less(a.cells[fi], b.cells[fi]); }))
        return false;
    TBookmark current = GetBookmark();
    std::vector<TBookmark> shown;
    for (int p : filterList_) shown.push_back(rows_[p - 1].bookmark);
    RowsChanged();
    std::stable_sort(rows_.begin(), rows_.end(),
                     [&](const Row& a, const Row& b) { return key.Less(a.cells[fi], b.cells[fi]); });
    for (size_t i = 0; i < shown.size(); ++i) filterList_[i] = RowOfBookmark(shown[i]) + 1;
    if (current) {
        curRec_ = RowOfBookmark(current);
        if (isFiltered_) filterCurRec_ = FilterIndexOf(curRec_);
    }
    return true;
}

void TdxMemData::SetSortedField(std::string name) {
    CheckBrowseMode();
    sortedFieldName_ = std::move(name);
    if (Active()) {
        SortRows();
        Notify(TDataEvent::DataSetChange);
    }
}

void TdxMemData::SetSortOptions(TSortOptions options) {
    CheckBrowseMode();
    sortOptions_ = options;
    if (Active()) {
        SortRows();
        Notify(TDataEvent::DataSetChange);
    }
}

// ---- copying another table ---------------------------------------------------------------------

void TdxMemData::LoadFromDataSet(TdxMemData* source) {
    if (!source || source->FieldCount() < 2 || !source->Active()) return;
    if (FieldCount() < 2) {
        for (int i = 0; i < source->FieldCount(); ++i) {
            const TField& sf = source->Fields(i);
            if (sf.FieldKind() == TFieldKind::fkCalculated) continue;
            TField& nf = AddField(sf.FieldName(), sf.DataType(), sf.Size());
            nf.Visible = sf.Visible;
            nf.DisplayLabel = sf.DisplayLabel;
            nf.DisplayFormat = sf.DisplayFormat;
        }
    }
    if (!Active()) Open();
    // Which source fields go where: same name and kind, or an AutoInc into an Integer.
    std::vector<std::pair<int, TField*>> map;
    for (int i = 0; i < source->FieldCount(); ++i) {
        const TField& sf = source->Fields(i);
        if (sf.FieldKind() == TFieldKind::fkCalculated) continue;
        TField* mine = FindField(sf.FieldName());
        if (!mine || mine->FieldKind() == TFieldKind::fkCalculated) continue;
        if (mine->DataType() == sf.DataType() ||
            (sf.DataType() == TFieldType::ftAutoInc && mine->DataType() == TFieldType::ftInteger))
            map.emplace_back(i, mine);
    }
    source->First();
    source->DisableControls();
    DisableControls();
    copyFlag_ = true;
    try {
        while (!source->Eof()) {
            Append();
            for (auto& [si, mine] : map)
                WriteCurrentCell(*mine, source->SlotToCell(source->CurrentSlot(source->Fields(si))));
            Post();
            source->Next();
        }
    } catch (...) {
        copyFlag_ = false;
        SortRows();
        EnableControls();
        source->EnableControls();
        throw;
    }
    copyFlag_ = false;
    // The copied rows were appended in the source's order: one stable sort puts each where a
    // sorted insert would have, after the rows that sort equal to it, and the cursor stays on
    // the last row copied.
    SortRows();
    EnableControls();
    source->EnableControls();
}
