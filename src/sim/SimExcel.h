#pragma once
// TSimExcel: Excel on the simulated machine, reached as the add-in reaches Excel through COM. It
// runs at most one instance, made by the workbook engine (xlsx/XlsxExcel.h): GetActiveObject finds
// it while it runs, Create starts one. Excel can quit, and can be made absent, as on a machine
// without it. Calls of the instance's objects check the machine's named failures with the names
// that TExcelApplication gives its members, and Create checks "Excel.Create".
#include <memory>
#include <string>

#include "platform/Excel.h"
#include "xlsx/XlsxExcel.h"

namespace sim {

class TSimFailures;

class TSimExcel : public excel::IExcelServer {
public:
    explicit TSimExcel(std::shared_ptr<TSimFailures> failures = nullptr) : failures_(std::move(failures)) {}

    int32_t GetActiveObject(const std::string& classId, std::shared_ptr<excel::IDispatch>& object) override;
    std::shared_ptr<excel::_Application> Create() override;

    // The running instance; nullptr when none runs.
    const std::shared_ptr<xlsx::TExcelApplication>& Running() const { return running_; }
    // Excel ends, its workbooks unsaved.
    void Quit();
    // From now on no Excel can be reached or made; one that runs ends.
    void SetAbsent();
    bool Absent() const { return absent_; }

private:
    std::shared_ptr<TSimFailures> failures_;
    std::shared_ptr<xlsx::TExcelApplication> running_;
    bool absent_ = false;
};

}  // namespace sim
