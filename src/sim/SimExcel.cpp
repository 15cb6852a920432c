#include "sim/SimExcel.h"

#include "sim/SimOutlook.h"

namespace sim {

namespace {
// REGDB_E_CLASSNOTREG, what COM answers for a class that no program on the machine serves.
const char* const kClassNotRegistered = "Class not registered";
}  // namespace

int32_t TSimExcel::GetActiveObject(const std::string& classId, std::shared_ptr<excel::IDispatch>& object) {
    object.reset();
    if (classId != excel::CLASS_ExcelApplication || !running_) return excel::hresult::Unavailable;
    object = running_;
    return excel::hresult::Ok;
}

std::shared_ptr<excel::_Application> TSimExcel::Create() {
    if (failures_) failures_->CheckOle("Excel.Create");
    if (absent_) throw EOleException(kClassNotRegistered);
    auto app = std::make_shared<xlsx::TExcelApplication>();
    if (failures_) {
        std::weak_ptr<TSimFailures> failures = failures_;
        app->SetCallHook([failures](std::string_view member) {
            if (auto f = failures.lock()) f->CheckOle(member);
        });
    }
    // An instance started for automation registers itself, so that the next caller finds it.
    if (running_) running_->Quit();
    running_ = app;
    return app;
}

void TSimExcel::Quit() {
    if (running_) running_->Quit();
    running_.reset();
}

void TSimExcel::SetAbsent() {
    Quit();
    absent_ = true;
}

}  // namespace sim
