#pragma once
// TExcelApplication: Excel's object model (platform/Excel.h) over the workbook engine, for hosts
// that have no Excel. It behaves as one running Excel instance: Workbooks.Add opens the template
// and keeps the new workbook open, named from its template ("TaskReport1", "TaskReport2", ...);
// cell writes go into that workbook; the host can list what was written and save each workbook
// as a true .xlsx. Failures raise EOleException with Excel's kind of message. After Quit every
// object of the instance answers as a disconnected server does.
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Excel.h"
#include "xlsx/XlsxWorkbook.h"

namespace xlsx {

class TExcelApplication : public excel::_Application {
public:
    TExcelApplication();
    ~TExcelApplication() override;

    // The object model.
    void SetVisible(int32_t lcid, bool value) override;
    void SetScreenUpdating(int32_t lcid, bool value) override;
    std::shared_ptr<excel::Workbooks> Workbooks() override;

    // The host's view.
    struct TOpenWorkbook {
        std::string name;          // "TaskReport1"
        std::string templateFile;  // as the caller named it
        TWorkbook* book = nullptr;
    };
    std::vector<TOpenWorkbook> OpenWorkbooks() const;
    bool Running() const;
    bool Visible() const;
    bool ScreenUpdating() const;
    // Excel ends: its workbooks are closed unsaved, and its objects disconnected.
    void Quit();

    // Called on entry to every member of the instance's objects with the member's name
    // ("Application.ScreenUpdating", "Workbooks.Add", "Sheets.Item", "Worksheet.Activate",
    // "Worksheet.Cells", "Range.Item", "Range.Value", "Range.Interior", "Range.Font",
    // "Range.InsertIndent", "Interior.Color", "Font.Bold", ...); what it raises is the call's
    // failure. For hosts that make calls fail on purpose.
    void SetCallHook(std::function<void(std::string_view member)> hook);

    struct State;

private:
    std::shared_ptr<State> state_;
};

// A template path as Excel on Windows takes it, made a path of this machine: backslashes are
// separators, and doubled separators count once.
std::string LocalPath(std::string_view windowsPath);

}  // namespace xlsx
