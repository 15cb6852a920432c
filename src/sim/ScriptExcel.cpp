// The excel commands: what the simulated machine's Excel holds, and what happens to it.
//
//   excel         EXCEL running= visible= screenupdating=, then each open workbook:
//                 WORKBOOK NAME template=FILE, and one CELL ROW,COL line per written cell
//   excel save    each open workbook written as Workbooks/NAME.xlsx in the add-in's folder
//   excel quit    Excel ends, its workbooks unsaved
//   excel absent  no Excel can be reached or made from now on
#include <filesystem>
#include <system_error>

#include "base/Variant.h"
#include "sim/ScriptHost.h"
#include "sim/SimExcel.h"

namespace fs = std::filesystem;

namespace sim {

namespace {

const char* Flag(bool value) { return value ? "true" : "false"; }

std::string RgbText(uint32_t rgb) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "%06X", rgb & 0xFFFFFFu);
    return buf;
}

}  // namespace

void TScriptHost::CmdExcel(const Words& a) {
    const Command& usage = Find(Commands(), "excel", "command");
    if (a.size() > 1) Usage(usage);
    TSimExcel& excel = *host_->Excel;
    if (a.size() == 1) {
        if (SameName(a[0], "quit")) {
            excel.Quit();
        } else if (SameName(a[0], "absent")) {
            excel.SetAbsent();
        } else if (SameName(a[0], "save")) {
            if (!excel.Running()) return;
            for (const auto& w : excel.Running()->OpenWorkbooks()) {
                std::string relative = "Workbooks/" + w.name + ".xlsx";
                std::error_code ec;
                fs::create_directories(fs::path(dir_) / "Workbooks", ec);
                try {
                    w.book->SaveAs((fs::path(dir_) / relative).string());
                } catch (const std::exception& e) {
                    throw EScriptError("cannot save " + relative + ": " + e.what());
                }
                out_ << "SAVED " << relative << "\n";
            }
        } else {
            Usage(usage);
        }
        return;
    }

    const auto& app = excel.Running();
    out_ << "EXCEL running=" << Flag(app != nullptr) << " visible=" << Flag(app && app->Visible())
         << " screenupdating=" << Flag(app && app->ScreenUpdating()) << "\n";
    if (!app) return;
    for (const auto& w : app->OpenWorkbooks()) {
        // The template as the system named it, less the add-in's folder and its separator.
        std::string file = w.templateFile;
        if (file.size() > dir_.size() && file.compare(0, dir_.size(), dir_) == 0 &&
            (file[dir_.size()] == '/' || file[dir_.size()] == '\\'))
            file.erase(0, dir_.size() + 1);
        out_ << "WORKBOOK " << w.name << " template=" << file << "\n";
        for (int s = 0; s < w.book->SheetCount(); ++s) {
            if (!w.book->Sheet(s).IsWorksheet()) continue;
            for (const xlsx::TSheet::TWrittenCell& c : w.book->Sheet(s).WrittenCells()) {
                using Kind = xlsx::TSheet::TWrittenCell::Kind;
                out_ << "CELL " << c.row << "," << c.column;
                switch (c.kind) {
                    case Kind::Text: out_ << " text=" << ScriptJson(c.text); break;
                    case Kind::Number: out_ << " number=" << FloatToShortest(c.number); break;
                    case Kind::Boolean: out_ << " boolean=" << Flag(c.number != 0); break;
                    case Kind::Empty:  // written, and holding nothing
                    case Kind::None: break;
                }
                if (c.fillWritten) out_ << " fill=" << (c.fillRgb ? RgbText(*c.fillRgb) : std::string("none"));
                if (c.indent) out_ << " indent=" << *c.indent;
                if (c.bold) out_ << " bold=" << Flag(*c.bold);
                out_ << "\n";
            }
        }
    }
}

}  // namespace sim
