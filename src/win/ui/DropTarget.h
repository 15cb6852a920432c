#pragma once
// The drop of text from other programs on a window (Outlook's items dragged onto the task tree):
// an OLE drop target that takes what offers Unicode or ANSI text and tells, while the drag passes
// and at the drop, the line under the pointer. Anything that offers no text is refused.
#include <windows.h>
#include <ole2.h>

#include <functional>
#include <string>

namespace win::ui {

void RegisterTextDrop(HWND hwnd, std::function<int(POINT screen)> lineAt, std::function<void(int line)> over,
                      std::function<void(int line)> drop);
void RevokeTextDrop(HWND hwnd);
// The drop target registered on a window by RegisterTextDrop; nullptr for none. A drag that the
// script makes goes to it as OLE's drag and drop hands over a drag.
IDropTarget* TextDropTarget(HWND hwnd);

// What a drag of Outlook's items offers: their text (Unicode) and nothing else, or, made with
// offersText false, nothing textual at all. It lives on the stack of the drag that makes it.
class TTextDataObject final : public IDataObject {
public:
    explicit TTextDataObject(std::wstring text, bool offersText = true)
        : text_(std::move(text)), offersText_(offersText) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs_; }
    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override;
    HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override;
    HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC*, FORMATETC* out) override;
    HRESULT STDMETHODCALLTYPE SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return OLE_E_ADVISENOTSUPPORTED; }
    HRESULT STDMETHODCALLTYPE DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
    HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA**) override { return OLE_E_ADVISENOTSUPPORTED; }

private:
    std::wstring text_;
    bool offersText_;
    ULONG refs_ = 1;  // counted for form's sake: the object goes with its scope
};

}  // namespace win::ui
