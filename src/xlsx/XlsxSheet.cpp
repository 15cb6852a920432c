// TSheet: the cells of one sheet. The sheet's XML is parsed the first time the sheet is used: its
// rows and cells become the cell table below, and everything else of the sheet (columns, views,
// merged cells, page setup) stays in the XML document. Writing puts the cell table back in the
// place of the rows. Cells the edits never touched are written back as they stood.
#include <algorithm>
#include <charconv>
#include <cmath>

#include "xlsx/XlsxStyles.h"
#include "xlsx/XlsxWorkbook.h"
#include "xlsx/XlsxXml.h"

namespace xlsx {

namespace {

// Stands in the sheet's XML where the rows go back at writing.
constexpr const char* kRowsMarker = "corvelle-rows";

enum Touched : uint8_t { kValue = 1, kFill = 2, kIndent = 4, kBold = 8 };

void CheckPlace(int row, int column) {
    if (row < 1 || row > kMaxRow || column < 1 || column > kMaxColumn)
        throw EXlsxError("the cell (" + std::to_string(row) + ", " + std::to_string(column) +
                         ") lies outside the sheet");
}

bool NeedsSpacePreserved(std::string_view text) {
    if (text.empty()) return false;
    auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    return blank(text.front()) || blank(text.back()) || text.find('\n') != std::string_view::npos;
}

void AppendNumber(std::string& out, double value) {
    char buf[32];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
    out.append(buf, ec == std::errc() ? end : buf);
}

}  // namespace

struct TSheet::Cell {
    enum class Kind : uint8_t { Empty, Number, Text, Boolean, Raw };
    int column = 0;
    uint32_t xf = 0;
    Kind kind = Kind::Empty;
    uint8_t touched = 0;
    double number = 0;
    // Text: the text. Raw (a cell of the file, kept as it stood): its other attributes as
    // written, a NUL, then its content as written.
    std::string text;
};

struct TSheet::Row {
    int row = 0;
    std::string attributes;  // as written, " ht=\"20\" customHeight=\"1\""
    std::vector<Cell> cells;  // by column
};

TSheet::TSheet(TWorkbook& book, std::string name, std::string part, bool worksheet)
    : book_(book), name_(std::move(name)), part_(std::move(part)), worksheet_(worksheet) {}

TSheet::~TSheet() = default;

void TSheet::Load() {
    if (loaded_) return;
    if (!worksheet_) throw EXlsxError("the sheet " + name_ + " holds no cells");
    auto doc = std::make_unique<pugi::xml_document>();
    ParsePart(*doc, book_.package_.Bytes(part_), part_);
    pugi::xml_node sheet = doc->document_element();
    pugi::xml_node data = Child(sheet, "sheetData");
    if (LocalName(sheet) != "worksheet" || !data) throw EXlsxError("the part " + part_ + " is no worksheet");
    rowPrefix_ = Prefix(data);
    TStyles& styles = book_.Styles();

    int lastRow = 0;
    for (pugi::xml_node r = Child(data, "row"); r; r = NextSibling(r, "row")) {
        int rowNumber = r.attribute("r").as_int(lastRow + 1);
        CheckPlace(rowNumber, 1);
        lastRow = rowNumber;
        Row row{rowNumber, {}, {}};
        AppendAttributes(row.attributes, r, {"r", "spans"});
        int lastColumn = 0;
        for (pugi::xml_node c = Child(r, "c"); c; c = NextSibling(c, "c")) {
            int ignored = 0, column = lastColumn + 1;
            if (pugi::xml_attribute ref = c.attribute("r"); ref && !ParseCellName(ref.value(), ignored, column))
                throw EXlsxError("the part " + part_ + " has a cell named " + ref.value());
            CheckPlace(rowNumber, column);
            lastColumn = column;
            Cell cell;
            cell.column = column;
            cell.xf = styles.Valid(c.attribute("s").as_uint(0));
            std::string raw;
            AppendAttributes(raw, c, {"r", "s"});
            raw += '\0';
            size_t attributesEnd = raw.size();
            AppendInner(raw, c);
            if (attributesEnd > 1 || raw.size() > attributesEnd) {
                cell.kind = Cell::Kind::Raw;
                cell.text = std::move(raw);
            }
            row.cells.push_back(std::move(cell));
        }
        rows_.push_back(std::move(row));
    }
    // Into order, also when the file's rows or cells are out of it; of two of the same place
    // the later one stands.
    auto byRow = [](const Row& a, const Row& b) { return a.row < b.row; };
    auto byColumn = [](const Cell& a, const Cell& b) { return a.column < b.column; };
    std::stable_sort(rows_.begin(), rows_.end(), byRow);
    std::vector<Row> merged;
    for (Row& r : rows_) {
        if (!merged.empty() && merged.back().row == r.row) {
            for (Cell& c : r.cells) merged.back().cells.push_back(std::move(c));
            merged.back().attributes = std::move(r.attributes);
        } else {
            merged.push_back(std::move(r));
        }
    }
    rows_ = std::move(merged);
    for (Row& r : rows_) {
        std::stable_sort(r.cells.begin(), r.cells.end(), byColumn);
        std::vector<Cell> unique;
        for (Cell& c : r.cells) {
            if (!unique.empty() && unique.back().column == c.column) unique.back() = std::move(c);
            else unique.push_back(std::move(c));
        }
        r.cells = std::move(unique);
    }
    data.remove_children();
    data.append_child(pugi::node_pi).set_name(kRowsMarker);
    doc_ = std::move(doc);
    loaded_ = true;
}

TSheet::Cell& TSheet::At(int row, int column) {
    CheckPlace(row, column);
    Load();
    // Reports write row after row, column after column: the end is the usual place.
    auto it = rows_.end();
    if (rows_.empty() || rows_.back().row < row) {
        rows_.push_back(Row{row, {}, {}});
        it = rows_.end() - 1;
    } else {
        it = std::lower_bound(rows_.begin(), rows_.end(), row, [](const Row& a, int n) { return a.row < n; });
        if (it->row != row) it = rows_.insert(it, Row{row, {}, {}});
    }
    std::vector<Cell>& cells = it->cells;
    if (cells.empty() || cells.back().column < column) {
        cells.emplace_back();
        cells.back().column = column;
        return cells.back();
    }
    auto at = std::lower_bound(cells.begin(), cells.end(), column, [](const Cell& a, int n) { return a.column < n; });
    if (at->column != column) {
        at = cells.insert(at, Cell{});
        at->column = column;
    }
    return *at;
}

void TSheet::SetText(int row, int column, std::string_view text) {
    Cell& c = At(row, column);
    c.kind = Cell::Kind::Text;
    c.text = CellText(text);
    c.touched |= kValue;
}

void TSheet::SetNumber(int row, int column, double value) {
    if (!std::isfinite(value)) throw EXlsxError("a cell can't hold a number that is not finite");
    Cell& c = At(row, column);
    c.kind = Cell::Kind::Number;
    c.number = value;
    c.text.clear();
    c.touched |= kValue;
}

void TSheet::SetBoolean(int row, int column, bool value) {
    Cell& c = At(row, column);
    c.kind = Cell::Kind::Boolean;
    c.number = value ? 1 : 0;
    c.text.clear();
    c.touched |= kValue;
}

void TSheet::ClearValue(int row, int column) {
    Cell& c = At(row, column);
    c.kind = Cell::Kind::Empty;
    c.text.clear();
    c.touched |= kValue;
}

void TSheet::Format(int row, int column, const TCellFormat& change) {
    Cell& c = At(row, column);
    c.xf = book_.Styles().Derive(c.xf, change);
    if (change.FillRgb) c.touched |= kFill;
    if (change.Indent) c.touched |= kIndent;
    if (change.Bold) c.touched |= kBold;
}

void TSheet::InsertIndent(int row, int column, int amount) {
    Cell& c = At(row, column);
    TStyles& styles = book_.Styles();
    long long level = static_cast<long long>(styles.Look(c.xf).indent) + amount;
    TCellFormat change;
    change.Indent = static_cast<int>(std::clamp<long long>(level, 0, kMaxIndent));
    c.xf = styles.Derive(c.xf, change);
    c.touched |= kIndent;
}

void TSheet::SetColumnWidth(int column, double width) {
    CheckPlace(1, column);
    if (!std::isfinite(width) || width < 0 || width > 255) throw EXlsxError("a column can't be that wide");
    Load();
    pugi::xml_node sheet = doc_->document_element();
    pugi::xml_node cols = Child(sheet, "cols");
    if (!cols) cols = AddChild(sheet, "cols", Child(sheet, "sheetData"));
    pugi::xml_node before;
    for (pugi::xml_node c = Child(cols, "col"); c; c = NextSibling(c, "col")) {
        int min = c.attribute("min").as_int(), max = c.attribute("max").as_int();
        if (min <= column && column <= max) {
            if (min != max) throw EXlsxError("the column " + std::to_string(column) + " lies in a range of columns");
            c.attribute("width").set_value(width);
            return;
        }
        if (min > column && !before) before = c;
    }
    pugi::xml_node col = AddChild(cols, "col", before);
    col.append_attribute("min") = column;
    col.append_attribute("max") = column;
    col.append_attribute("width") = width;
    col.append_attribute("customWidth") = 1;
}

std::vector<TSheet::TWrittenCell> TSheet::WrittenCells() const {
    std::vector<TWrittenCell> list;
    if (!loaded_) return list;
    TStyles& styles = book_.Styles();
    for (const Row& r : rows_) {
        for (const Cell& c : r.cells) {
            if (!c.touched) continue;
            TWrittenCell w;
            w.row = r.row;
            w.column = c.column;
            if (c.touched & kValue) {
                switch (c.kind) {
                    case Cell::Kind::Text: w.kind = TWrittenCell::Kind::Text, w.text = c.text; break;
                    case Cell::Kind::Number: w.kind = TWrittenCell::Kind::Number, w.number = c.number; break;
                    case Cell::Kind::Boolean: w.kind = TWrittenCell::Kind::Boolean, w.number = c.number; break;
                    default: w.kind = TWrittenCell::Kind::Empty; break;
                }
            }
            TStyles::TLook look = styles.Look(c.xf);
            if (c.touched & kFill) w.fillWritten = true, w.fillRgb = look.fillRgb;
            if (c.touched & kIndent) w.indent = look.indent;
            if (c.touched & kBold) w.bold = look.bold;
            list.push_back(std::move(w));
        }
    }
    return list;
}

std::string TSheet::Write() {
    Load();
    // The extent of the cells, for the sheet's dimension.
    int minRow = 0, maxRow = 0, minCol = 0, maxCol = 0;
    for (const Row& r : rows_) {
        if (r.cells.empty()) continue;
        if (!minRow) minRow = r.row;
        maxRow = r.row;
        int lo = r.cells.front().column, hi = r.cells.back().column;
        minCol = minCol ? std::min(minCol, lo) : lo;
        maxCol = std::max(maxCol, hi);
    }
    pugi::xml_node sheet = doc_->document_element();
    if (pugi::xml_node dimension = Child(sheet, "dimension")) {
        std::string ref = minRow ? CellName(minRow, minCol) : "A1";
        if (minRow && (minRow != maxRow || minCol != maxCol)) ref += ":" + CellName(maxRow, maxCol);
        pugi::xml_attribute a = dimension.attribute("ref");
        if (!a) a = dimension.append_attribute("ref");
        a.set_value(ref.c_str());
    }

    // The tags with the sheet's prefix, made once.
    const std::string& p = rowPrefix_;
    const std::string rowOpen = "<" + p + "row r=\"", rowClose = "</" + p + "row>";
    const std::string cellOpen = "<" + p + "c r=\"", cellClose = "</" + p + "c>";
    const std::string numberOpen = "><" + p + "v>", valueClose = "</" + p + "v>";
    const std::string booleanOpen = " t=\"b\"><" + p + "v>";
    const std::string textOpen = " t=\"inlineStr\"><" + p + "is><" + p + "t";
    const std::string textClose = "</" + p + "t></" + p + "is>";
    std::string rows;
    rows.reserve(rows_.size() * 256);
    for (const Row& r : rows_) {
        if (r.cells.empty() && r.attributes.empty()) continue;
        const std::string rowNumber = std::to_string(r.row);
        rows += rowOpen;
        rows += rowNumber;
        rows += '"';
        rows += r.attributes;
        if (r.cells.empty()) {
            rows += "/>";
            continue;
        }
        rows += '>';
        for (const Cell& c : r.cells) {
            if (c.kind == Cell::Kind::Empty && c.xf == 0) continue;
            rows += cellOpen;
            rows += ColumnName(c.column);
            rows += rowNumber;
            rows += '"';
            if (c.xf) {
                rows += " s=\"";
                rows += std::to_string(c.xf);
                rows += '"';
            }
            switch (c.kind) {
                case Cell::Kind::Empty: rows += "/>"; continue;
                case Cell::Kind::Number:
                    rows += numberOpen;
                    AppendNumber(rows, c.number);
                    rows += valueClose;
                    break;
                case Cell::Kind::Boolean:
                    rows += booleanOpen;
                    rows += c.number != 0 ? '1' : '0';
                    rows += valueClose;
                    break;
                case Cell::Kind::Text:
                    rows += textOpen;
                    if (NeedsSpacePreserved(c.text)) rows += " xml:space=\"preserve\"";
                    rows += '>';
                    AppendEscaped(rows, c.text);
                    rows += textClose;
                    break;
                case Cell::Kind::Raw: {
                    size_t nul = c.text.find('\0');
                    rows.append(c.text, 0, nul);
                    if (nul + 1 == c.text.size()) {
                        rows += "/>";
                        continue;
                    }
                    rows += '>';
                    rows.append(c.text, nul + 1, std::string::npos);
                    break;
                }
            }
            rows += cellClose;
        }
        rows += rowClose;
    }

    std::string xml = WritePart(*doc_);
    const std::string marker = std::string("<?") + kRowsMarker + "?>";
    size_t at = xml.find(marker);
    if (at == std::string::npos) throw EXlsxError("the sheet " + name_ + " lost its rows");
    xml.replace(at, marker.size(), rows);
    return xml;
}

}  // namespace xlsx
