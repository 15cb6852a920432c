#include "win/bind/OleExcel.h"

#include "base/Exceptions.h"
#include "win/bind/OleObject.h"

namespace win {
namespace {

template <class T>
std::shared_ptr<T> Bind(TComPtr<IDispatch> d) {
    if (!d) return nullptr;
    return std::make_shared<T>(std::move(d));
}

class OleInterior final : public excel::Interior, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    void SetColor(const Variant& value) override { ole_.Put("Color", value); }
};

class OleFont final : public excel::Font, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    void SetBold(const Variant& value) override { ole_.Put("Bold", value); }
};

class OleRange final : public excel::Range, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::shared_ptr<excel::Range> Item(const Variant& rowIndex, const Variant& columnIndex) override {
        return Bind<OleRange>(ole_.GetObject("Item", {rowIndex, columnIndex}));
    }
    void SetValue(const Variant& value) override { ole_.Put("Value", value); }
    std::shared_ptr<excel::Interior> Interior() override { return Bind<OleInterior>(ole_.GetObject("Interior")); }
    std::shared_ptr<excel::Font> Font() override { return Bind<OleFont>(ole_.GetObject("Font")); }
    void InsertIndent(int insertAmount) override { ole_.Call("InsertIndent", {insertAmount}); }
};

class OleWorksheet final : public excel::_Worksheet, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    // The locale goes with the call itself (IDispatch::Invoke's lcid), as for every member here.
    void Activate(int32_t) override { ole_.Call("Activate"); }
    std::shared_ptr<excel::Range> Cells() override { return Bind<OleRange>(ole_.GetObject("Cells")); }
};

class OleSheets final : public excel::Sheets, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    // A sheet of a workbook made from the report templates is a worksheet: it is bound as one, and
    // a member it lacks fails when called, as a foreign object's would.
    std::shared_ptr<platform::IDispatch> Item(const Variant& index) override {
        return Bind<OleWorksheet>(ole_.GetObject("Item", {index}));
    }
};

class OleWorkbook final : public excel::_Workbook, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::shared_ptr<excel::Sheets> Worksheets() override { return Bind<OleSheets>(ole_.GetObject("Worksheets")); }
};

class OleWorkbooks final : public excel::Workbooks, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    std::shared_ptr<excel::_Workbook> Add(const Variant& templateFile, int32_t) override {
        return Bind<OleWorkbook>(ole_.GetObject("Add", {templateFile}));
    }
};

class OleExcelApplication final : public excel::_Application, public TOleBound {
public:
    using TOleBound::TOleBound;
    CORVELLE_OLE_PROPERTY
    void SetVisible(int32_t, bool value) override { ole_.Put("Visible", value); }
    void SetScreenUpdating(int32_t, bool value) override { ole_.Put("ScreenUpdating", value); }
    std::shared_ptr<excel::Workbooks> Workbooks() override { return Bind<OleWorkbooks>(ole_.GetObject("Workbooks")); }
};

CLSID ClassId(const std::string& text) {
    CLSID id{};
    std::wstring w = Wide(text);
    if (FAILED(CLSIDFromString(w.data(), &id))) throw EOleException("Invalid class string");
    return id;
}

class OleExcelServer final : public excel::IExcelServer {
public:
    int32_t GetActiveObject(const std::string& classId, std::shared_ptr<platform::IDispatch>& object) override {
        object.reset();
        CLSID id{};
        std::wstring w = Wide(classId);
        HRESULT hr = CLSIDFromString(w.data(), &id);
        if (FAILED(hr)) return hr;
        TComPtr<IUnknown> running;
        hr = ::GetActiveObject(id, nullptr, running.Out());
        if (FAILED(hr)) return hr == MK_E_UNAVAILABLE ? excel::hresult::Unavailable : static_cast<int32_t>(hr);
        TComPtr<IDispatch> d = running.As<IDispatch>(IID_IDispatch);
        if (!d) return E_NOINTERFACE;
        object = BindExcelApplication(std::move(d));
        return excel::hresult::Ok;
    }

    std::shared_ptr<excel::_Application> Create() override {
        TComPtr<IDispatch> d;
        // A failed start may leave the server's own words as the thread's error information.
        SetErrorInfo(0, nullptr);
        HRESULT hr = CoCreateInstance(ClassId(excel::CLASS_ExcelApplication), nullptr,
                                      CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch,
                                      reinterpret_cast<void**>(d.Out()));
        if (FAILED(hr)) RaiseFromErrorInfo(hr, "CoCreateInstance");
        return BindExcelApplication(std::move(d));
    }
};

}  // namespace

std::shared_ptr<excel::IExcelServer> MakeOleExcelServer() { return std::make_shared<OleExcelServer>(); }

std::shared_ptr<excel::_Application> BindExcelApplication(TComPtr<IDispatch> application) {
    return Bind<OleExcelApplication>(std::move(application));
}

}  // namespace win
