#include "win/winhost/AutoExcel.h"

#include "base/Exceptions.h"
#include "platform/Excel.h"
#include "sim/SimExcel.h"
#include "win/winhost/AutoObject.h"

namespace win {
namespace {

template <class T>
T& Live(const std::shared_ptr<T>& p) {
    if (!p) throw EAccessViolation("Access violation: the object is gone");
    return *p;
}

template <class A, class T>
TComPtr<IDispatch> Wrap(const std::shared_ptr<T>& object) {
    if (!object) return nullptr;
    return TComPtr<IDispatch>::Attach(static_cast<IDispatch*>(new A(object)));
}

// Every object holds the engine's object it stands for.
template <class T>
class TAutoExcelObject : public TAutoObject {
protected:
    explicit TAutoExcelObject(std::shared_ptr<T> o) : o_(std::move(o)) {}
    T& O() { return Live(o_); }
    std::shared_ptr<T> o_;
};

class TAutoInterior final : public TAutoExcelObject<excel::Interior> {
public:
    explicit TAutoInterior(std::shared_ptr<excel::Interior> o) : TAutoExcelObject(std::move(o)) {
        Member("Color", nullptr, [this](const TAutoArgs&, const VARIANT& v) { O().SetColor(FromVariant(v)); });
    }
};

class TAutoFont final : public TAutoExcelObject<excel::Font> {
public:
    explicit TAutoFont(std::shared_ptr<excel::Font> o) : TAutoExcelObject(std::move(o)) {
        Member("Bold", nullptr, [this](const TAutoArgs&, const VARIANT& v) { O().SetBold(FromVariant(v)); });
    }
};

class TAutoRange final : public TAutoExcelObject<excel::Range> {
public:
    explicit TAutoRange(std::shared_ptr<excel::Range> o) : TAutoExcelObject(std::move(o)) {
        Member("Item", [this](const TAutoArgs& a, VARIANT* r) {
            SetResult(r, Wrap<TAutoRange>(O().Item(a.Value(0), a.Value(1))));
        });
        Member("Value", nullptr, [this](const TAutoArgs&, const VARIANT& v) { O().SetValue(FromVariant(v)); });
        Member("Interior", [this](const TAutoArgs&, VARIANT* r) { SetResult(r, Wrap<TAutoInterior>(O().Interior())); });
        Member("Font", [this](const TAutoArgs&, VARIANT* r) { SetResult(r, Wrap<TAutoFont>(O().Font())); });
        Member("InsertIndent", [this](const TAutoArgs& a, VARIANT*) { O().InsertIndent(a.Int(0)); });
    }
};

class TAutoWorksheet final : public TAutoExcelObject<excel::_Worksheet> {
public:
    explicit TAutoWorksheet(std::shared_ptr<excel::_Worksheet> o) : TAutoExcelObject(std::move(o)) {
        Member("Activate", [this](const TAutoArgs&, VARIANT*) { O().Activate(LOCALE_USER_DEFAULT); });
        Member("Cells", [this](const TAutoArgs&, VARIANT* r) { SetResult(r, Wrap<TAutoRange>(O().Cells())); });
    }
};

class TAutoSheets final : public TAutoExcelObject<excel::Sheets> {
public:
    explicit TAutoSheets(std::shared_ptr<excel::Sheets> o) : TAutoExcelObject(std::move(o)) {
        Member("Item", [this](const TAutoArgs& a, VARIANT* r) {
            std::shared_ptr<platform::IDispatch> sheet = O().Item(a.Value(0));
            SetResult(r, Wrap<TAutoWorksheet>(platform::QueryInterface<excel::_Worksheet>(sheet)));
        });
    }
};

class TAutoWorkbook final : public TAutoExcelObject<excel::_Workbook> {
public:
    explicit TAutoWorkbook(std::shared_ptr<excel::_Workbook> o) : TAutoExcelObject(std::move(o)) {
        Member("Worksheets", [this](const TAutoArgs&, VARIANT* r) { SetResult(r, Wrap<TAutoSheets>(O().Worksheets())); });
    }
};

class TAutoWorkbooks final : public TAutoExcelObject<excel::Workbooks> {
public:
    explicit TAutoWorkbooks(std::shared_ptr<excel::Workbooks> o) : TAutoExcelObject(std::move(o)) {
        Member("Add", [this](const TAutoArgs& a, VARIANT* r) {
            SetResult(r, Wrap<TAutoWorkbook>(O().Add(a.Value(0), LOCALE_USER_DEFAULT)));
        });
    }
};

class TAutoApplication final : public TAutoExcelObject<excel::_Application> {
public:
    explicit TAutoApplication(std::shared_ptr<excel::_Application> o) : TAutoExcelObject(std::move(o)) {
        Member("Visible", nullptr,
               [this](const TAutoArgs&, const VARIANT& v) { O().SetVisible(LOCALE_USER_DEFAULT, FromVariant(v).AsBoolean()); });
        Member("ScreenUpdating", nullptr, [this](const TAutoArgs&, const VARIANT& v) {
            O().SetScreenUpdating(LOCALE_USER_DEFAULT, FromVariant(v).AsBoolean());
        });
        Member("Workbooks", [this](const TAutoArgs&, VARIANT* r) { SetResult(r, Wrap<TAutoWorkbooks>(O().Workbooks())); });
    }
};

}  // namespace

TComPtr<IDispatch> TAutoExcel::Running() {
    const std::shared_ptr<xlsx::TExcelApplication>& running = excel_.Running();
    if (running.get() != wrapped_) {
        application_.Reset();
        wrapped_ = running.get();
        if (running) application_ = Wrap<TAutoApplication>(std::static_pointer_cast<excel::_Application>(running));
    }
    return application_;
}

TComPtr<IDispatch> TAutoExcel::Start() {
    excel_.Create();
    return Running();
}

void TAutoExcel::Release() {
    application_.Reset();
    wrapped_ = nullptr;
}

}  // namespace win
