#pragma once
// Excel's object model, as far as the reports use it, and COM's two ways of reaching Excel (the
// running instance, or a new one). Every member may fail; a failing call raises EOleException.
// Property writes that Excel's type library gives a locale take it as lcid. A backend (the
// workbook engine of the Linux hosts, the COM bindings on Windows) implements them.
#include <cstdint>
#include <memory>
#include <string>

#include "base/Variant.h"
#include "platform/Dispatch.h"

namespace excel {

using platform::IDispatch;

// HRESULTs that the reports tell apart, named apart from the macros of Windows' own headers.
namespace hresult {
inline constexpr int32_t Ok = 0;                                              // S_OK
inline constexpr int32_t Unavailable = static_cast<int32_t>(0x800401E3u);     // MK_E_UNAVAILABLE
}  // namespace hresult

// The class of Excel.Application, which GetActiveObject is asked for.
inline constexpr const char* CLASS_ExcelApplication = "{00024500-0000-0000-C000-000000000046}";

class Range;
class Workbooks;

// A cell's shading.
class Interior : public IDispatch {
public:
    // The colour as Excel takes it: 0xBBGGRR.
    virtual void SetColor(const Variant& value) = 0;
};

// A cell's font.
class Font : public IDispatch {
public:
    virtual void SetBold(const Variant& value) = 0;
};

// A range of cells; the reports use a sheet's Cells and single cells of it.
class Range : public IDispatch {
public:
    // The cell at row and column of this range, both counted from 1.
    virtual std::shared_ptr<Range> Item(const Variant& rowIndex, const Variant& columnIndex) = 0;
    // Text or a number; null empties the cell.
    virtual void SetValue(const Variant& value) = 0;
    virtual std::shared_ptr<excel::Interior> Interior() = 0;
    virtual std::shared_ptr<excel::Font> Font() = 0;
    // Adds insertAmount steps to the indent of the range's cells.
    virtual void InsertIndent(int insertAmount) = 0;
};

class _Worksheet : public IDispatch {
public:
    virtual void Activate(int32_t lcid) = 0;
    virtual std::shared_ptr<Range> Cells() = 0;
};

// The sheets of a workbook. Item gives a sheet of any kind, to be asked for _Worksheet.
class Sheets : public IDispatch {
public:
    // index: the one-based position, or the sheet's name.
    virtual std::shared_ptr<IDispatch> Item(const Variant& index) = 0;
};

class _Workbook : public IDispatch {
public:
    virtual std::shared_ptr<Sheets> Worksheets() = 0;
};

class Workbooks : public IDispatch {
public:
    // A new workbook made from the template file (a full path); raises when Excel can't open it.
    virtual std::shared_ptr<_Workbook> Add(const Variant& templateFile, int32_t lcid) = 0;
};

class _Application : public IDispatch {
public:
    virtual void SetVisible(int32_t lcid, bool value) = 0;
    virtual void SetScreenUpdating(int32_t lcid, bool value) = 0;
    virtual std::shared_ptr<excel::Workbooks> Workbooks() = 0;
};

// COM's side: the running-object table and Excel's creator class (CoExcelApplication).
class IExcelServer {
public:
    virtual ~IExcelServer() = default;
    // GetActiveObject on the class: Ok with the running instance's object, Unavailable
    // (MK_E_UNAVAILABLE) when none runs, or another failure code. It doesn't raise.
    virtual int32_t GetActiveObject(const std::string& classId, std::shared_ptr<IDispatch>& object) = 0;
    // CoExcelApplication.Create: starts a new instance; raises EOleException when none can start.
    virtual std::shared_ptr<_Application> Create() = 0;
};

}  // namespace excel
