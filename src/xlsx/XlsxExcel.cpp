#include "xlsx/XlsxExcel.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "base/Exceptions.h"

namespace xlsx {

namespace {

const char* const kDisconnected = "The object invoked has disconnected from its clients.";

struct BookEntry {
    std::string name;
    std::string templateFile;
    std::unique_ptr<TWorkbook> book;
    int activeSheet = 0;
    bool open = true;
};

}  // namespace

struct TExcelApplication::State {
    bool running = true;
    bool visible = false;
    bool screenUpdating = true;
    std::vector<std::shared_ptr<BookEntry>> books;
    std::map<std::string, int> counters;  // by template name: the last number given
    std::function<void(std::string_view)> hook;

    // Runs a member's body: the instance must still run, the hook may fail the call, and the
    // engine's failures become Excel's.
    template <class Body>
    auto Call(std::string_view member, const std::shared_ptr<BookEntry>& book, Body&& body) -> decltype(body()) {
        if (!running || (book && !book->open)) throw EOleException(kDisconnected);
        if (hook) hook(member);
        try {
            return body();
        } catch (const EXlsxError& e) {
            throw EOleException(e.Message());
        } catch (const EVariantError&) {
            throw EOleException("Type mismatch.");
        }
    }
};

namespace {

using State = TExcelApplication::State;

class TInterior : public excel::Interior {
public:
    TInterior(std::shared_ptr<State> s, std::shared_ptr<BookEntry> b, int sheet, int row, int column)
        : s_(std::move(s)), b_(std::move(b)), sheet_(sheet), row_(row), column_(column) {}
    void SetColor(const Variant& value) override {
        s_->Call("Interior.Color", b_, [&] {
            // Excel's colours are 0xBBGGRR.
            uint32_t bgr = static_cast<uint32_t>(value.AsInt64()) & 0xFFFFFFu;
            TCellFormat change;
            change.FillRgb = ((bgr & 0xFF) << 16) | (bgr & 0xFF00) | (bgr >> 16);
            b_->book->Sheet(sheet_).Format(row_, column_, change);
        });
    }

private:
    std::shared_ptr<State> s_;
    std::shared_ptr<BookEntry> b_;
    int sheet_, row_, column_;
};

class TFont : public excel::Font {
public:
    TFont(std::shared_ptr<State> s, std::shared_ptr<BookEntry> b, int sheet, int row, int column)
        : s_(std::move(s)), b_(std::move(b)), sheet_(sheet), row_(row), column_(column) {}
    void SetBold(const Variant& value) override {
        s_->Call("Font.Bold", b_, [&] {
            TCellFormat change;
            change.Bold = value.AsBoolean();
            b_->book->Sheet(sheet_).Format(row_, column_, change);
        });
    }

private:
    std::shared_ptr<State> s_;
    std::shared_ptr<BookEntry> b_;
    int sheet_, row_, column_;
};

// A sheet's Cells (row 0) or one cell of it.
class TRange : public excel::Range {
public:
    TRange(std::shared_ptr<State> s, std::shared_ptr<BookEntry> b, int sheet, int row, int column)
        : s_(std::move(s)), b_(std::move(b)), sheet_(sheet), row_(row), column_(column) {}

    std::shared_ptr<excel::Range> Item(const Variant& rowIndex, const Variant& columnIndex) override {
        return s_->Call("Range.Item", b_, [&]() -> std::shared_ptr<excel::Range> {
            int64_t r = rowIndex.AsInt64(), c = columnIndex.AsInt64();
            if (row_) r += row_ - 1, c += column_ - 1;
            if (r < 1 || r > kMaxRow || c < 1 || c > kMaxColumn) throw EOleException("Invalid index.");
            return std::make_shared<TRange>(s_, b_, sheet_, static_cast<int>(r), static_cast<int>(c));
        });
    }

    void SetValue(const Variant& value) override {
        s_->Call("Range.Value", b_, [&] {
            TSheet& sheet = OneCell();
            switch (value.type()) {
                case Variant::Type::Null: sheet.ClearValue(row_, column_); break;
                // An empty text empties the cell, as in Excel.
                case Variant::Type::String:
                    if (value.AsString().empty()) sheet.ClearValue(row_, column_);
                    else sheet.SetText(row_, column_, value.AsString());
                    break;
                case Variant::Type::Boolean: sheet.SetBoolean(row_, column_, value.AsBoolean()); break;
                case Variant::Type::Date: sheet.SetNumber(row_, column_, value.AsDateTime()); break;
                default: sheet.SetNumber(row_, column_, value.AsDouble()); break;
            }
        });
    }

    std::shared_ptr<excel::Interior> Interior() override {
        return s_->Call("Range.Interior", b_, [&]() -> std::shared_ptr<excel::Interior> {
            OneCell();
            return std::make_shared<TInterior>(s_, b_, sheet_, row_, column_);
        });
    }

    std::shared_ptr<excel::Font> Font() override {
        return s_->Call("Range.Font", b_, [&]() -> std::shared_ptr<excel::Font> {
            OneCell();
            return std::make_shared<TFont>(s_, b_, sheet_, row_, column_);
        });
    }

    void InsertIndent(int insertAmount) override {
        s_->Call("Range.InsertIndent", b_, [&] { OneCell().InsertIndent(row_, column_, insertAmount); });
    }

private:
    // This engine writes cell by cell: a whole sheet's Cells takes no value or format.
    TSheet& OneCell() {
        if (!row_) throw EOleException("This operation is not supported on all the cells of a sheet.");
        return b_->book->Sheet(sheet_);
    }

    std::shared_ptr<State> s_;
    std::shared_ptr<BookEntry> b_;
    int sheet_, row_, column_;
};

class TWorksheet : public excel::_Worksheet {
public:
    TWorksheet(std::shared_ptr<State> s, std::shared_ptr<BookEntry> b, int sheet)
        : s_(std::move(s)), b_(std::move(b)), sheet_(sheet) {}
    void Activate(int32_t) override {
        s_->Call("Worksheet.Activate", b_, [&] { b_->activeSheet = sheet_; });
    }
    std::shared_ptr<excel::Range> Cells() override {
        return s_->Call("Worksheet.Cells", b_, [&]() -> std::shared_ptr<excel::Range> {
            return std::make_shared<TRange>(s_, b_, sheet_, 0, 0);
        });
    }

private:
    std::shared_ptr<State> s_;
    std::shared_ptr<BookEntry> b_;
    int sheet_;
};

// The worksheets of a workbook (chart sheets are not among them).
class TSheets : public excel::Sheets {
public:
    TSheets(std::shared_ptr<State> s, std::shared_ptr<BookEntry> b) : s_(std::move(s)), b_(std::move(b)) {}
    std::shared_ptr<platform::IDispatch> Item(const Variant& index) override {
        return s_->Call("Sheets.Item", b_, [&]() -> std::shared_ptr<platform::IDispatch> {
            std::vector<int> worksheets;
            for (int i = 0; i < b_->book->SheetCount(); ++i)
                if (b_->book->Sheet(i).IsWorksheet()) worksheets.push_back(i);
            if (index.type() == Variant::Type::String) {
                for (int i : worksheets)
                    if (b_->book->Sheet(i).Name() == index.AsString()) return std::make_shared<TWorksheet>(s_, b_, i);
                throw EOleException("Invalid index.");
            }
            int64_t n = index.AsInt64();
            if (n < 1 || n > static_cast<int64_t>(worksheets.size())) throw EOleException("Invalid index.");
            return std::make_shared<TWorksheet>(s_, b_, worksheets[static_cast<size_t>(n - 1)]);
        });
    }

private:
    std::shared_ptr<State> s_;
    std::shared_ptr<BookEntry> b_;
};

class TWorkbookObject : public excel::_Workbook {
public:
    TWorkbookObject(std::shared_ptr<State> s, std::shared_ptr<BookEntry> b) : s_(std::move(s)), b_(std::move(b)) {}
    std::shared_ptr<excel::Sheets> Worksheets() override {
        return s_->Call("Workbook.Worksheets", b_,
                        [&]() -> std::shared_ptr<excel::Sheets> { return std::make_shared<TSheets>(s_, b_); });
    }

private:
    std::shared_ptr<State> s_;
    std::shared_ptr<BookEntry> b_;
};

std::string FileNameOf(const std::string& path) { return std::filesystem::path(path).filename().string(); }

class TWorkbooks : public excel::Workbooks {
public:
    explicit TWorkbooks(std::shared_ptr<State> s) : s_(std::move(s)) {}
    std::shared_ptr<excel::_Workbook> Add(const Variant& templateFile, int32_t) override {
        return s_->Call("Workbooks.Add", nullptr, [&]() -> std::shared_ptr<excel::_Workbook> {
            std::string given = templateFile.AsString();
            std::string path = LocalPath(given);
            std::string file = FileNameOf(path);
            std::error_code ec;
            if (given.empty() || !std::filesystem::is_regular_file(path, ec))
                throw EOleException("Sorry, we couldn't find " + given +
                                    ". Is it possible it was moved, renamed or deleted?");
            if (!std::ifstream(path, std::ios::binary))
                throw EOleException("Microsoft Excel cannot access the file '" + path +
                                    "'. The file may be read-only or locked, or the file or path may not exist.");
            auto entry = std::make_shared<BookEntry>();
            try {
                entry->book = TWorkbook::Open(path);
            } catch (const EXlsxError&) {
                throw EOleException("Excel cannot open the file '" + file +
                                    "' because the file format or file extension is not valid. Verify that the "
                                    "file has not been corrupted and that the file extension matches the format "
                                    "of the file.");
            }
            std::string stem = std::filesystem::path(path).stem().string();
            entry->name = stem + std::to_string(++s_->counters[stem]);
            entry->templateFile = given;
            s_->books.push_back(entry);
            return std::make_shared<TWorkbookObject>(s_, entry);
        });
    }

private:
    std::shared_ptr<State> s_;
};

}  // namespace

TExcelApplication::TExcelApplication() : state_(std::make_shared<State>()) {}

TExcelApplication::~TExcelApplication() = default;

void TExcelApplication::SetVisible(int32_t, bool value) {
    state_->Call("Application.Visible", nullptr, [&] { state_->visible = value; });
}

void TExcelApplication::SetScreenUpdating(int32_t, bool value) {
    state_->Call("Application.ScreenUpdating", nullptr, [&] { state_->screenUpdating = value; });
}

std::shared_ptr<excel::Workbooks> TExcelApplication::Workbooks() {
    return state_->Call("Application.Workbooks", nullptr,
                        [&]() -> std::shared_ptr<excel::Workbooks> { return std::make_shared<TWorkbooks>(state_); });
}

std::vector<TExcelApplication::TOpenWorkbook> TExcelApplication::OpenWorkbooks() const {
    std::vector<TOpenWorkbook> list;
    for (const auto& b : state_->books) list.push_back({b->name, b->templateFile, b->book.get()});
    return list;
}

bool TExcelApplication::Running() const { return state_->running; }
bool TExcelApplication::Visible() const { return state_->running && state_->visible; }
bool TExcelApplication::ScreenUpdating() const { return state_->running && state_->screenUpdating; }

void TExcelApplication::Quit() {
    state_->running = false;
    for (auto& b : state_->books) {
        b->open = false;
        b->book.reset();
    }
    state_->books.clear();
}

void TExcelApplication::SetCallHook(std::function<void(std::string_view member)> hook) {
    state_->hook = std::move(hook);
}

std::string LocalPath(std::string_view windowsPath) {
    std::string path;
    path.reserve(windowsPath.size());
    for (char c : windowsPath) {
        if (c == '\\') c = '/';
        if (c == '/' && !path.empty() && path.back() == '/') continue;
        path += c;
    }
    return path;
}

}  // namespace xlsx
