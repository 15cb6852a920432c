#include "win/ui/DropTarget.h"

#include <ole2.h>

#include <atomic>
#include <cstring>
#include <map>

namespace win::ui {

namespace {

class TTextDropTarget : public IDropTarget {
public:
    TTextDropTarget(std::function<int(POINT)> lineAt, std::function<void(int)> over, std::function<void(int)> drop)
        : lineAt_(std::move(lineAt)), over_(std::move(over)), drop_(std::move(drop)) {}
    virtual ~TTextDropTarget() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        if (iid == IID_IUnknown || iid == IID_IDropTarget) {
            *out = static_cast<IDropTarget*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        ULONG n = --refs_;
        if (n == 0) delete this;
        return n;
    }
    HRESULT STDMETHODCALLTYPE DragEnter(IDataObject* data, DWORD, POINTL pt, DWORD* effect) override {
        accepts_ = OffersText(data);
        return DragOver(0, pt, effect);
    }
    HRESULT STDMETHODCALLTYPE DragOver(DWORD, POINTL pt, DWORD* effect) override {
        if (!effect) return E_INVALIDARG;
        if (!accepts_) {
            *effect = DROPEFFECT_NONE;
            return S_OK;
        }
        POINT p{pt.x, pt.y};
        int line = lineAt_(p);
        if (line != lastLine_) {
            lastLine_ = line;
            over_(line);
        }
        *effect = (*effect & DROPEFFECT_COPY) ? DROPEFFECT_COPY : (*effect & (DROPEFFECT_MOVE | DROPEFFECT_LINK));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DragLeave() override {
        lastLine_ = -1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Drop(IDataObject* data, DWORD, POINTL pt, DWORD* effect) override {
        lastLine_ = -1;
        if (!effect) return E_INVALIDARG;
        if (!OffersText(data)) {
            *effect = DROPEFFECT_NONE;
            return S_OK;
        }
        *effect = (*effect & DROPEFFECT_COPY) ? DROPEFFECT_COPY : (*effect & (DROPEFFECT_MOVE | DROPEFFECT_LINK));
        POINT p{pt.x, pt.y};
        drop_(lineAt_(p));
        return S_OK;
    }

private:
    static bool OffersText(IDataObject* data) {
        if (!data) return false;
        for (CLIPFORMAT cf : {static_cast<CLIPFORMAT>(CF_UNICODETEXT), static_cast<CLIPFORMAT>(CF_TEXT)}) {
            FORMATETC f{cf, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
            if (data->QueryGetData(&f) == S_OK) return true;
        }
        return false;
    }
    std::atomic<ULONG> refs_{1};
    bool accepts_ = false;
    int lastLine_ = -1;
    std::function<int(POINT)> lineAt_;
    std::function<void(int)> over_;
    std::function<void(int)> drop_;
};

// The targets registered, by window (the registration holds each one).
std::map<HWND, IDropTarget*>& Registered() {
    static std::map<HWND, IDropTarget*> targets;
    return targets;
}

}  // namespace

void RegisterTextDrop(HWND hwnd, std::function<int(POINT)> lineAt, std::function<void(int)> over,
                      std::function<void(int)> drop) {
    // OLE's drag and drop needs OLE on this thread; Outlook's has it, a test's is given it here.
    OleInitialize(nullptr);
    auto* target = new TTextDropTarget(std::move(lineAt), std::move(over), std::move(drop));
    // A failure leaves the tree without drops, and nothing else.
    if (SUCCEEDED(RegisterDragDrop(hwnd, target))) Registered()[hwnd] = target;
    target->Release();
}

void RevokeTextDrop(HWND hwnd) {
    Registered().erase(hwnd);
    RevokeDragDrop(hwnd);
}

IDropTarget* TextDropTarget(HWND hwnd) {
    auto it = Registered().find(hwnd);
    return it == Registered().end() ? nullptr : it->second;
}

HRESULT TTextDataObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IDataObject)) return E_NOINTERFACE;
    *out = static_cast<IDataObject*>(this);
    AddRef();
    return S_OK;
}

HRESULT TTextDataObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
    if (!format || !medium) return E_INVALIDARG;
    if (QueryGetData(format) != S_OK) return DV_E_FORMATETC;
    const SIZE_T bytes = (text_.size() + 1) * sizeof(wchar_t);
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (!memory) return E_OUTOFMEMORY;
    std::memcpy(GlobalLock(memory), text_.c_str(), bytes);
    GlobalUnlock(memory);
    medium->tymed = TYMED_HGLOBAL;
    medium->hGlobal = memory;
    medium->pUnkForRelease = nullptr;
    return S_OK;
}

HRESULT TTextDataObject::QueryGetData(FORMATETC* format) {
    if (!format) return E_INVALIDARG;
    return offersText_ && format->cfFormat == CF_UNICODETEXT && (format->tymed & TYMED_HGLOBAL) ? S_OK
                                                                                                : DV_E_FORMATETC;
}

HRESULT TTextDataObject::GetCanonicalFormatEtc(FORMATETC*, FORMATETC* out) {
    if (out) out->ptd = nullptr;
    return E_NOTIMPL;
}

}  // namespace win::ui
