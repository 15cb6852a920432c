// The table file: "Ver", the format version as a double, the field descriptors, then the
// records to the end of the stream. The writer produces version 1.91; the reader takes every
// older version too. A damaged stream never raises, except for a field name longer than 255
// bytes: a short read ends the load, and the rows read before it stay. Every length, count and
// size read from the stream is checked against the bytes that remain before anything is made of
// it, so a stream can't make the reader allocate or loop beyond what it holds.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "base/Exceptions.h"
#include "platform/Text.h"
#include "store/MemData.h"
#include "store/TableFile.h"
#include "store/TableFormat.h"

using namespace tableformat;


namespace {

// A count of days or milliseconds as the file's 4 bytes hold it, the nearest one for a count
// beyond them.
int32_t ClampedCount(double n) {
    if (!(n > static_cast<double>(INT32_MIN))) return INT32_MIN;
    if (!(n < static_cast<double>(INT32_MAX))) return INT32_MAX;
    return static_cast<int32_t>(n);
}

// The milliseconds of the day of a time beyond the calendar, as a time within it is split.
int32_t TimeOfDayMs(double d) {
    const double ms = std::nearbyint(std::fabs(d - std::trunc(d)) * MSecsPerDay);
    return ms >= 0 && ms < MSecsPerDay ? static_cast<int32_t>(ms) : 0;
}

}  // namespace

class TMemDataWriter {
public:
    using Slot = TdxMemData::Slot;
    using SlotKind = TdxMemData::SlotKind;

    static std::vector<const TField*> Stored(const TdxMemData& t) {
        std::vector<const TField*> stored;
        for (int i = 0; i < t.FieldCount(); ++i)
            if (t.Fields(i).FieldKind() == TFieldKind::fkData) stored.push_back(&t.Fields(i));
        return stored;
    }

    static void Header(Writer& w, const std::vector<const TField*>& stored) {
        w.Bytes("Ver", 3);
        w.Put(kWriterVersion);
        w.Put(static_cast<int32_t>(stored.size()));
        for (const TField* f : stored) WriteDescriptor(w, *f);
    }

    static void Row(Writer& w, const std::vector<const TField*>& stored, const TdxMemData::Row& row) {
        for (const TField* f : stored) WriteValue(w, *f, row.cells[static_cast<size_t>(f->Index())]);
    }

    static void Save(const TdxMemData& t, std::string& out) {
        Writer w(out);
        const std::vector<const TField*> stored = Stored(t);
        Header(w, stored);
        for (const auto& row : t.rows_) Row(w, stored, row);
    }

    static void WriteValue(Writer& w, const TField& f, const Slot& s) {
        const TFieldType t = f.DataType();
        const bool has = s.kind != SlotKind::None;
        if (IsBlobKind(t)) {
            const std::string_view bytes = s.kind == SlotKind::Text ? s.Text() : std::string_view();
            if (t == TFieldType::ftWideMemo && has) {
                std::u16string u = platform::Utf8ToUtf16(bytes);
                w.Put(static_cast<int32_t>(u.size() * 2));
                w.Bytes(u.data(), u.size() * 2);
                return;
            }
            w.Put(static_cast<int32_t>(bytes.size()));
            w.Bytes(bytes.data(), bytes.size());
            return;
        }
        w.Put(static_cast<uint8_t>(has ? 1 : 0));
        if (IsStringKind(t)) {
            if (!has) return;
            if (t == TFieldType::ftWideString) {
                std::u16string u = platform::Utf8ToUtf16(s.Text());
                w.Put(static_cast<int32_t>(u.size()));
                w.Bytes(u.data(), u.size() * 2);
            } else {
                w.Put(static_cast<int32_t>(s.len));
                w.Bytes(s.p, s.len);
            }
            return;
        }
        WriteFixed(w, t, s);
    }

    // The bytes after the flag of a fixed-width value.
    template <class W>
    static void WriteFixed(W& w, TFieldType t, const Slot& s) {
        if (s.kind == SlotKind::None) {
            w.Zeros(static_cast<size_t>(FixedWidth(t)));
            return;
        }
        const int64_t i = s.kind == SlotKind::Int ? s.i : 0;
        const double d = s.kind == SlotKind::Real ? s.d : 0.0;
        switch (t) {
            case TFieldType::ftShortint:
            case TFieldType::ftByte: w.Put(static_cast<int8_t>(i)); break;
            case TFieldType::ftSmallint:
            case TFieldType::ftWord:
            case TFieldType::ftBoolean: w.Put(static_cast<int16_t>(i)); break;
            case TFieldType::ftInteger:
            case TFieldType::ftAutoInc:
            case TFieldType::ftLongWord: w.Put(static_cast<int32_t>(i)); break;
            case TFieldType::ftLargeint: w.Put(i); break;
            case TFieldType::ftCurrency: w.Put(Currency::FromRaw(i).ToDouble()); break;
            // A day beyond the calendar (a file may hold any count) goes back as the count it was
            // read from; a time, as its time of day, as every time is written.
            case TFieldType::ftDate:
                w.Put(SplittableDate(d) ? DateTimeToTimeStamp(d).date : ClampedCount(std::floor(d) + DateDelta));
                break;
            case TFieldType::ftTime:
                w.Put(SplittableDate(d) ? DateTimeToTimeStamp(d).time : TimeOfDayMs(d));
                break;
            case TFieldType::ftDateTime:
            case TFieldType::ftTimeStamp: {
                if (SplittableDate(d)) {
                    TTimeStamp ts = DateTimeToTimeStamp(d);
                    w.Put(static_cast<double>(ts.date) * MSecsPerDay + ts.time);
                } else {
                    w.Put((d + DateDelta) * MSecsPerDay);  // beyond the calendar, as it was read
                }
                break;
            }
            default: w.Put(d); break;
        }
    }
};

class TMemDataReader {
public:
    using Slot = TdxMemData::Slot;
    using SlotKind = TdxMemData::SlotKind;

    // Reads the rows of the image, whose bytes the table keeps: text is left where it lies.
    // True when the image was read whole. `canonical` tells whether the writer, given these
    // rows, would write the image back byte for byte.
    static bool Load(TdxMemData& t, const char* data, size_t size, bool& canonical) {
        canonical = false;
        Reader r(data, size);
        Header h;
        const HeaderResult header = ReadHeader(r, h, t.Name());
        if (header != HeaderResult::Ok) return header == HeaderResult::Empty;
        for (Descriptor& d : h.descriptors) {
            TField* f = t.FindField(d.name);
            d.field = f && f->FieldKind() == TFieldKind::fkData ? f : nullptr;
        }
        {
            std::string expected;
            Writer w(expected);
            TMemDataWriter::Header(w, TMemDataWriter::Stored(t));
            canonical = expected.size() == r.Pos() && std::memcmp(expected.data(), data, r.Pos()) == 0;
        }
        const std::vector<Step> plan = Plan(h);
        const size_t nFields = t.fields_.size();
        const size_t body = r.Pos();
        // All the rows' slots in one array, in the table's field order, row after row.
        std::vector<Slot> slots;
        size_t rows = 0;
        bool whole = true;
        try {
            while (!r.AtEnd()) {
                if (rows == kRowsBeforeGuess) slots.reserve(GuessSlots(rows, r.Pos() - body, size - body, nFields));
                slots.resize(slots.size() + nFields);
                if (!ReadRow(r, t, h, plan, slots.data() + rows * nFields, canonical)) {
                    whole = false;
                    break;
                }
                ++rows;
            }
        } catch (...) {
            slots.resize(rows * nFields);  // the rows read before stay
            t.AdoptLoadedRows(std::move(slots), rows);
            throw;
        }
        slots.resize(rows * nFields);  // a partly read record is dropped
        t.AdoptLoadedRows(std::move(slots), rows);
        return whole;
    }

    static void CreateFields(TdxMemData& t, const std::string& bytes) {
        Reader r(bytes.data(), bytes.size());
        Header h;
        if (ReadHeader(r, h, t.Name()) != HeaderResult::Ok) return;
        for (const Descriptor& d : h.descriptors) {
            if (d.name.empty() || t.FindField(d.name)) continue;
            t.AddField(d.name, d.type, DeclaredSize(d, h.version));
        }
    }

private:
    // How each value of a row is read: straight into its slot, by kind, for the field's own kind
    // at its own width in a version with flags; through the general reader and a conversion
    // otherwise.
    enum class Op : uint8_t { Blob, Text, Int32, Int16, Boolean, Date, Time, Currency, DateTime, Float, Direct, General };
    struct Step {
        Op op;
        uint32_t slot;  // the field's index; unused when the file's field has none
        size_t width;   // of a fixed-width value
        uint32_t size;  // of a text field: the bytes it keeps
    };
    static constexpr size_t kRowsBeforeGuess = 256;

    static std::vector<Step> Plan(const Header& h) {
        std::vector<Step> plan;
        plan.reserve(h.descriptors.size());
        for (const Descriptor& d : h.descriptors) {
            Step s{Op::General, 0, 0, 0};
            const TFieldType t = d.type;
            const bool direct = h.version >= 1.85 && d.field && d.field->DataType() == t &&
                                t != TFieldType::ftWideString && t != TFieldType::ftWideMemo;
            if (direct) {
                s.slot = static_cast<uint32_t>(d.field->Index());
                s.width = d.size > 0 ? static_cast<size_t>(d.size) : static_cast<size_t>(FixedWidth(t));
                s.size = static_cast<uint32_t>(std::max(0, d.field->Size()));
                const bool ownWidth = static_cast<int>(s.width) == FixedWidth(t);
                if (IsBlobKind(t)) s.op = Op::Blob;
                else if (IsStringKind(t)) s.op = Op::Text;
                else if (!ownWidth) s.op = Op::Direct;
                else if (t == TFieldType::ftInteger || t == TFieldType::ftAutoInc) s.op = Op::Int32;
                else if (t == TFieldType::ftSmallint) s.op = Op::Int16;
                else if (t == TFieldType::ftBoolean) s.op = Op::Boolean;
                else if (t == TFieldType::ftDate) s.op = Op::Date;
                else if (t == TFieldType::ftTime) s.op = Op::Time;
                else if (t == TFieldType::ftCurrency) s.op = Op::Currency;
                else if (t == TFieldType::ftDateTime) s.op = Op::DateTime;
                else if (t == TFieldType::ftFloat) s.op = Op::Float;
                else s.op = Op::Direct;
            }
            plan.push_back(s);
        }
        return plan;
    }

    // Room for the rows still to come, guessed from the bytes the first ones took; never more
    // than the rows the rest of the file could hold at that size, plus a little.
    static size_t GuessSlots(size_t rows, size_t bytesRead, size_t bytesAll, size_t nFields) {
        if (bytesRead == 0) return 0;
        const double perRow = static_cast<double>(bytesRead) / static_cast<double>(rows);
        const double guess = static_cast<double>(bytesAll) / perRow * 1.02 + 16;
        return static_cast<size_t>(guess) * nFields;
    }

    // Reads one record into the row's slots (all holding nothing). False on a short read.
    static bool ReadRow(Reader& r, TdxMemData& t, const Header& h, const std::vector<Step>& plan, Slot* row,
                        bool& canonical) {
        // The fixed-width values of the common kinds are decoded after a long value has been
        // passed, or at the end of the row: the bytes after a mail's body are then on their way
        // into the cache while the decoding runs, rather than waited for.
        struct Pending {
            const Step* step;
            const char* at;
        };
        constexpr size_t kPendingMax = 32;
        Pending pending[kPendingMax];
        size_t npending = 0;
        auto decode = [&] {
            for (size_t k = 0; k < npending; ++k)
                DecodeFixed(*pending[k].step, pending[k].at, row[pending[k].step->slot], canonical);
            npending = 0;
        };
        for (size_t i = 0; i < plan.size(); ++i) {
            const Step& s = plan[i];
            switch (s.op) {
                case Op::Blob: {
                    int32_t len;
                    if (!r.Get(len) || len < 0 || static_cast<size_t>(len) > r.Left()) return false;
                    if (len > 0) {
                        Slot& slot = row[s.slot];
                        slot.kind = SlotKind::Text;
                        slot.p = r.Here();
                        slot.len = static_cast<uint32_t>(len);
                        r.Skip(static_cast<size_t>(len));
                        if (npending > 0) {
                            __builtin_prefetch(r.Here());
                            decode();
                        }
                    }
                    continue;
                }
                case Op::Text: {
                    uint8_t flag;
                    if (!r.Get(flag)) return false;
                    if (flag == 0) continue;
                    if (flag > 1) canonical = false;  // any other flag reads as a value, and is written as 1
                    int32_t len;
                    if (!r.Get(len) || len < 0 || static_cast<size_t>(len) > r.Left()) return false;
                    const size_t keep = std::min(static_cast<size_t>(len), static_cast<size_t>(s.size));
                    if (keep < static_cast<size_t>(len)) canonical = false;
                    Slot& slot = row[s.slot];
                    slot.kind = SlotKind::Text;
                    slot.p = r.Here();
                    slot.len = static_cast<uint32_t>(keep);
                    r.Skip(static_cast<size_t>(len));
                    continue;
                }
                case Op::General: {
                    TCell cell;
                    if (!ReadValue(r, h.descriptors[i], h.version, cell)) return false;
                    canonical = false;
                    const Descriptor& d = h.descriptors[i];
                    if (d.field)
                        row[d.field->Index()] = t.CellToSlot(Convert(d, std::move(cell), *d.field));
                    continue;
                }
                case Op::Direct:
                    if (!ReadOtherFixed(r, h.descriptors[i], row[s.slot], canonical)) return false;
                    continue;
                default:
                    if (1 + s.width > r.Left()) return false;
                    if (npending == kPendingMax) decode();
                    pending[npending++] = {&s, r.Here()};
                    r.Skip(1 + s.width);
                    continue;
            }
        }
        decode();
        return true;
    }

    // A fixed-width value of one of the common kinds, at its own width, flag first at `at`, into
    // its slot as the general reader would read it; the file is canonical only while the value,
    // written back, gives the bytes read.
    static void DecodeFixed(const Step& s, const char* at, Slot& slot, bool& canonical) {
        const auto flag = static_cast<uint8_t>(at[0]);
        const char* p = at + 1;
        if (flag > 1) canonical = false;
        if (flag == 0) {
            // No value; the writer puts zeros after the flag.
            if (canonical)
                for (size_t k = 0; k < s.width; ++k) canonical = canonical && p[k] == 0;
            return;
        }
        TFieldType kind = TFieldType::ftInteger;
        switch (s.op) {
            case Op::Int32: {
                int32_t v;
                std::memcpy(&v, p, 4);
                slot.kind = SlotKind::Int;
                slot.i = v;
                return;
            }
            case Op::Int16: {
                int16_t v;
                std::memcpy(&v, p, 2);
                slot.kind = SlotKind::Int;
                slot.i = v;
                return;
            }
            case Op::Boolean: {
                int16_t v;
                std::memcpy(&v, p, 2);
                slot.kind = SlotKind::Int;
                slot.i = v != 0 ? 1 : 0;
                if (v != 0 && v != 1) canonical = false;
                return;
            }
            case Op::Date: {
                int32_t days;
                std::memcpy(&days, p, 4);
                slot.kind = SlotKind::Real;
                slot.d = TimeStampToDateTime({days, 0});
                kind = TFieldType::ftDate;
                break;
            }
            case Op::Time: {
                int32_t ms;
                std::memcpy(&ms, p, 4);
                slot.kind = SlotKind::Real;
                slot.d = static_cast<double>(ms) / MSecsPerDay;
                kind = TFieldType::ftTime;
                break;
            }
            case Op::Currency: {
                double v;
                std::memcpy(&v, p, 8);
                if (const std::optional<int64_t> c = CurrencyOfStored(v)) {
                    slot.kind = SlotKind::Int;
                    slot.i = *c;
                }
                kind = TFieldType::ftCurrency;
                break;
            }
            case Op::DateTime: {
                double ms;
                std::memcpy(&ms, p, 8);
                if (const std::optional<double> d = DateTimeOfStored(ms)) {
                    slot.kind = SlotKind::Real;
                    slot.d = *d;
                }
                kind = TFieldType::ftDateTime;
                break;
            }
            default: {  // Float
                double v;
                std::memcpy(&v, p, 8);
                if (std::isfinite(v)) {
                    slot.kind = SlotKind::Real;
                    slot.d = v;
                }
                kind = TFieldType::ftFloat;
                break;
            }
        }
        if (canonical) {
            ValueBytes again;
            again.Put(static_cast<uint8_t>(slot.kind == SlotKind::None ? 0 : 1));
            TMemDataWriter::WriteFixed(again, kind, slot);
            canonical = again.Equals(at, 1 + s.width);
        }
    }

    // A fixed-width value of the field's own kind, of a kind or width the common ones leave
    // out, by the general reader. False on a short read.
    static bool ReadOtherFixed(Reader& r, const Descriptor& d, Slot& slot, bool& canonical) {
        const size_t start = r.Pos();
        const char* const at = r.Here();
        TCell cell;
        if (!ReadValue(r, d, kWriterVersion, cell)) return false;
        if (static_cast<uint8_t>(at[0]) > 1) canonical = false;  // any other flag reads as a value
        slot = TdxMemData::ViewOf(Convert(d, std::move(cell), *d.field));
        if (canonical) {
            // Written back, the value must give the same bytes.
            ValueBytes again;
            again.Put(static_cast<uint8_t>(slot.kind == SlotKind::None ? 0 : 1));
            TMemDataWriter::WriteFixed(again, d.type, slot);
            canonical = again.Equals(at, r.Pos() - start);
        }
        return true;
    }
};

void TdxMemData::SaveToStream(std::string& out) { TMemDataWriter::Save(*this, out); }

void TdxMemData::LoadFromStream(const std::string& bytes) {
    std::unique_ptr<char[]> copy(new char[bytes.size() + 1]);
    std::memcpy(copy.get(), bytes.data(), bytes.size());
    TableFileImage image;
    image.data = std::shared_ptr<const char>(copy.release(), std::default_delete<const char[]>());
    image.size = bytes.size();
    LoadImage(std::move(image), nullptr, TableFileStamp{});
}

void TdxMemData::BeginLoad() {
    DisableControls();
    loadFlag_ = true;
    loadedWhole_ = false;
    stamp_ = FileStamp{};
}

void TdxMemData::LoadImage(TableFileImage image, const std::string* path, const TableFileStamp& stamp) {
    BeginLoad();
    bool canonical = false;
    try {
        Close();
        Open();
        const size_t size = image.size;
        const char* data = text_.Keep(std::move(image.data), size);
        loadedWhole_ = TMemDataReader::Load(*this, data, size, canonical);
    } catch (...) {
        FinishLoad();
        throw;
    }
    const bool reordered = FinishLoad();
    compactAt_ = 2 * text_.Bytes() + (size_t{64} << 20);
    stamp_ = FileStamp{};
    if (path && stamp.valid && loadedWhole_ && canonical && !reordered) {
        stamp_.valid = true;
        stamp_.path = *path;
        stamp_.file = stamp;
        stamp_.version = rowsVersion_;
    }
}

bool TdxMemData::FinishLoad() {
    loadFlag_ = false;
    RowsChanged();
    lastBookmark_ = 0;
    for (Row& row : rows_) row.bookmark = ++lastBookmark_;
    const bool reordered = SortRows();
    RecomputeFilterAfterLoad();
    First();
    Refresh();
    EnableControls();
    return reordered;
}

void TdxMemData::RecomputeFilterAfterLoad() {
    // A programmed filter's list was cleared with the old rows; any other filter lets all pass.
    if (isFiltered_ && !programmedFilter_) {
        filterList_.resize(rows_.size());
        for (size_t i = 0; i < rows_.size(); ++i) filterList_[i] = static_cast<int>(i) + 1;
    }
}

void TdxMemData::SaveToBinaryFile(const std::string& path) {
    if (!Active()) return;
    // The bytes are made a piece at a time while they are written, so that a save needs no
    // second copy of the table.
    constexpr size_t kPiece = size_t{1} << 20;
    const std::vector<const TField*> stored = TMemDataWriter::Stored(*this);
    bool headerDone = false;
    size_t next = 0;
    ReplaceTableFile(path, [&](std::string& piece) {
        Writer w(piece);
        if (!headerDone) {
            TMemDataWriter::Header(w, stored);
            headerDone = true;
        }
        while (next < rows_.size() && piece.size() < kPiece) TMemDataWriter::Row(w, stored, rows_[next++]);
        return next < rows_.size();
    });
    // The file holds these rows now, as the writer makes them.
    stamp_ = FileStamp{};
    const TableFileStamp written = StampOfTableFile(path);
    if (written.valid) {
        stamp_.valid = true;
        stamp_.path = path;
        stamp_.file = written;
        stamp_.version = rowsVersion_;
    }
}

bool TdxMemData::FileHoldsRows(const std::string& path) const {
    return stamp_.valid && stamp_.version == rowsVersion_ && stamp_.path == path &&
           StampOfTableFile(path) == stamp_.file;
}

void TdxMemData::LoadFromBinaryFile(const std::string& path, TableFileRead how) {
    TableFileStamp stamp;
    TableFileImage image = ReadTableFileImage(path, stamp, how);
    LoadImage(std::move(image), &path, stamp);
}

void TdxMemData::CreateFieldsFromStream(const std::string& bytes) {
    Close();
    TMemDataReader::CreateFields(*this, bytes);
}

void TdxMemData::CreateFieldsFromBinaryFile(const std::string& path) {
    CreateFieldsFromStream(ReadTableFile(path));
}
