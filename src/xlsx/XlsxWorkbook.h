#pragma once
// The workbook engine: a real .xlsx workbook, opened from a file (a template) or made blank,
// whose first-level edits (cell values, fills, fonts, number formats, indents, column widths) are
// merged into what the file holds, and written back as a valid .xlsx. Everything of the file that
// is not edited (header rows, widths, formats, other parts) is kept as it was. Failures raise
// EXlsxError (xlsx/XlsxPackage.h) with the reason; nothing is half written.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xlsx/XlsxPackage.h"

namespace pugi {
class xml_document;
}

namespace xlsx {

class TStyles;
class TWorkbook;

// What an edit changes in a cell's look; what is left unset keeps the cell's own.
struct TCellFormat {
    std::optional<uint32_t> FillRgb;  // a solid fill, 0xRRGGBB
    std::optional<bool> Bold;
    std::optional<double> FontSize;
    std::optional<uint32_t> FontRgb;  // 0xRRGGBB
    std::optional<std::string> NumberFormat;  // "mmm d, yyyy"
    std::optional<int> Indent;  // indent level from the left, 0 to kMaxIndent
};

inline constexpr int kMaxRow = 1048576;
inline constexpr int kMaxColumn = 16384;
inline constexpr int kMaxIndent = 250;

// One sheet of a workbook. Rows and columns count from 1; a reference outside the sheet's grid
// raises EXlsxError.
class TSheet {
public:
    ~TSheet();
    TSheet(const TSheet&) = delete;
    TSheet& operator=(const TSheet&) = delete;

    const std::string& Name() const { return name_; }
    // A sheet of cells, as opposed to a chart sheet or another kind.
    bool IsWorksheet() const { return worksheet_; }

    // Values. Text longer than a cell can hold is cut; a number that is not finite raises.
    void SetText(int row, int column, std::string_view text);
    void SetNumber(int row, int column, double value);
    void SetBoolean(int row, int column, bool value);
    // Empties the cell's value; its look stays.
    void ClearValue(int row, int column);

    // Looks.
    void Format(int row, int column, const TCellFormat& change);
    // Adds amount to the cell's indent level (kept within 0 to kMaxIndent), as Excel's
    // InsertIndent does; a cell aligned to neither side becomes left-aligned.
    void InsertIndent(int row, int column, int amount);
    // Width of a column in characters.
    void SetColumnWidth(int column, double width);

    // What the edits have made of a cell, for a listing of the cells that were written: its value
    // when the value was written, and the fill, indent and bold when those were.
    struct TWrittenCell {
        int row = 0;
        int column = 0;
        enum class Kind { None, Text, Number, Boolean, Empty } kind = Kind::None;
        std::string text;
        double number = 0;
        std::optional<uint32_t> fillRgb;  // set when a fill was written; none for no fill
        bool fillWritten = false;
        std::optional<int> indent;
        std::optional<bool> bold;
    };
    // The written cells, in row then column order.
    std::vector<TWrittenCell> WrittenCells() const;

private:
    friend class TWorkbook;
    TSheet(TWorkbook& book, std::string name, std::string part, bool worksheet);

    struct Cell;
    struct Row;
    void Load();
    Cell& At(int row, int column);
    std::string Write();

    TWorkbook& book_;
    std::string name_;
    std::string part_;
    bool worksheet_;
    bool loaded_ = false;
    std::unique_ptr<pugi::xml_document> doc_;
    std::string rowPrefix_;  // the prefix that the sheet's elements carry ("x:"), usually none
    std::vector<Row> rows_;
};

class TWorkbook {
public:
    // Opens a workbook file; EXlsxError when it is missing, unreadable or no workbook.
    static std::unique_ptr<TWorkbook> Open(const std::string& path);
    // A new workbook with one empty sheet of that name, in the default style.
    static std::unique_ptr<TWorkbook> Blank(const std::string& sheetName);
    ~TWorkbook();
    TWorkbook(const TWorkbook&) = delete;
    TWorkbook& operator=(const TWorkbook&) = delete;

    // The sheets in the workbook's order.
    int SheetCount() const { return static_cast<int>(sheets_.size()); }
    TSheet& Sheet(int index);  // from 0

    // Writes the workbook with its edits; the workbook stays open for more.
    void SaveAs(const std::string& path);

private:
    TWorkbook();
    friend class TSheet;
    void Init();
    TStyles& Styles();

    TPackage package_;
    std::string workbookPart_;
    std::string stylesPart_;
    std::unique_ptr<TStyles> styles_;
    std::vector<std::unique_ptr<TSheet>> sheets_;
};

}  // namespace xlsx
