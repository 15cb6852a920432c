#pragma once
// TAutoExcel: the simulated machine's Excel (the workbook engine) as Excel's automation objects,
// for the add-in that the script host loads: the running instance, and a new one started. Each
// object of Excel's model the reports use (Application, Workbooks, Workbook, Sheets, Worksheet,
// Range, Interior, Font) answers by Excel's dispatch names; each call reaches the workbook engine
// with the machine's named failures. (Wine's running object table and out-of-process class
// registrations need its RPC service, which does not answer in a test prefix: the add-in asks the
// script host for Excel instead, and binds what it gets as it binds an installed Excel.)
#include <memory>

#include "win/com/ComSupport.h"

namespace sim {
class TSimExcel;
}

namespace win {

class TAutoExcel {
public:
    explicit TAutoExcel(sim::TSimExcel& excel) : excel_(excel) {}
    TAutoExcel(const TAutoExcel&) = delete;
    TAutoExcel& operator=(const TAutoExcel&) = delete;

    // The running instance's Application; empty when Excel doesn't run.
    TComPtr<IDispatch> Running();
    // Starts a new instance, which is the running one from then on; raises as the start fails.
    TComPtr<IDispatch> Start();
    // Lets go of the instance's Application.
    void Release();

private:
    sim::TSimExcel& excel_;
    const void* wrapped_ = nullptr;   // the engine's instance that application_ stands for
    TComPtr<IDispatch> application_;
};

}  // namespace win
