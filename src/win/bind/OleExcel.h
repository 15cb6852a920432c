#pragma once
// Excel's object model on Windows: the classes of platform/Excel.h bound late, through IDispatch,
// to Excel's automation objects, and COM's two ways of reaching Excel: the running instance in the
// running object table (GetActiveObject on Excel.Application's class), or a new one
// (CoCreateInstance of that class, as CoExcelApplication.Create does). A failed call raises
// EOleException with Excel's own message, or the system's text of the failure code.
#include <memory>

#include "platform/Excel.h"
#include "win/com/ComSupport.h"

namespace win {

std::shared_ptr<excel::IExcelServer> MakeOleExcelServer();
// The binding of an Excel.Application automation object.
std::shared_ptr<excel::_Application> BindExcelApplication(TComPtr<IDispatch> application);

}  // namespace win
