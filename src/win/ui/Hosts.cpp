// The desktop's hosts: the modal loop on real windows, menus tracked at the pointer, and the
// pictures' provider.
#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

#include "win/ui/FormWindowImpl.h"

namespace win::ui {

namespace {

TImageListProvider& Provider() {
    static TImageListProvider provider;
    return provider;
}

// A picture of the list as a menu shows it: a 32-bit bitmap laid over the menu's colour, opaque
// (menus that draw such bitmaps without blending show no black squares), with its alpha all set
// (the caller deletes it); null when there is none.
HBITMAP MenuBitmap(HIMAGELIST list, int index) {
    IMAGEINFO info{};
    if (!list || index < 0 || index >= ImageList_GetImageCount(list) || !ImageList_GetImageInfo(list, index, &info))
        return nullptr;
    const int w = info.rcImage.right - info.rcImage.left, h = info.rcImage.bottom - info.rcImage.top;
    BITMAPINFO bi{};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = w;
    bi.bmiHeader.biHeight = -h;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    bi.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HBITMAP out = CreateDIBSection(nullptr, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!out) return nullptr;
    // The picture's pixels as the list holds them (straight alpha), read out of its strip.
    HDC dc = CreateCompatibleDC(nullptr);
    BITMAP strip{};
    GetObjectW(info.hbmImage, sizeof strip, &strip);
    std::vector<uint32_t> all(static_cast<size_t>(strip.bmWidth) * static_cast<size_t>(strip.bmHeight));
    BITMAPINFO sbi = bi;
    sbi.bmiHeader.biWidth = strip.bmWidth;
    sbi.bmiHeader.biHeight = -strip.bmHeight;
    const bool read = strip.bmBitsPixel == 32 &&
                      GetDIBits(dc, info.hbmImage, 0, static_cast<UINT>(strip.bmHeight), all.data(), &sbi, DIB_RGB_COLORS) != 0;
    DeleteDC(dc);
    if (!read) {
        DeleteObject(out);
        return nullptr;
    }
    auto* px = static_cast<uint32_t*>(bits);
    const COLORREF back = GetSysColor(COLOR_MENU);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint32_t p = all[static_cast<size_t>(info.rcImage.top + y) * static_cast<size_t>(strip.bmWidth) +
                             static_cast<size_t>(info.rcImage.left + x)];
            const uint32_t a = p >> 24;
            auto over = [&](int shift, uint32_t under) {
                return ((((p >> shift) & 0xFF) * a + under * (255 - a)) / 255) << shift;
            };
            px[y * w + x] = 0xFF000000u | over(16, GetRValue(back)) | over(8, GetGValue(back)) | over(0, GetBValue(back));
        }
    return out;
}

// The bitmaps of the menu being shown, deleted when it closes.
struct TMenuPictures {
    HIMAGELIST list = nullptr;
    std::vector<HBITMAP> made;
    ~TMenuPictures() {
        for (HBITMAP b : made) DeleteObject(b);
    }
};

void AddItems(HMENU menu, const TMenuItem& parent, std::map<UINT, TMenuItem*>& ids, TMenuPictures& pictures) {
    for (int i = 0; i < parent.Count(); ++i) {
        TMenuItem& item = parent.Items(i);
        if (!item.Visible()) continue;
        if (item.IsSeparator()) {
            AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
            continue;
        }
        UINT flags = MF_STRING | (item.Usable() ? 0 : MF_GRAYED) | (item.Checked() ? MF_CHECKED : 0);
        std::wstring caption = W(item.Caption());
        if (item.Count() > 0) {
            HMENU sub = CreatePopupMenu();
            AddItems(sub, item, ids, pictures);
            AppendMenuW(menu, flags | MF_POPUP, reinterpret_cast<UINT_PTR>(sub), caption.c_str());
        } else {
            UINT id = static_cast<UINT>(ids.size() + 1);
            ids[id] = &item;
            AppendMenuW(menu, flags, id, caption.c_str());
        }
        // The entry's picture beside its caption.
        if (HBITMAP picture = MenuBitmap(pictures.list, item.ImageIndex())) {
            pictures.made.push_back(picture);
            MENUITEMINFOW info{};
            info.cbSize = sizeof info;
            info.fMask = MIIM_BITMAP;
            info.hbmpItem = picture;
            SetMenuItemInfoW(menu, static_cast<UINT>(GetMenuItemCount(menu) - 1), TRUE, &info);
        }
    }
}

// A hidden window that owns menus shown when no window of ours is active.
HWND MenuOwner(HWND preferred) {
    if (preferred && IsWindow(preferred)) return preferred;
    static HWND hidden = CreateWindowExW(WS_EX_TOOLWINDOW, L"STATIC", L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                                         GetModuleHandleW(nullptr), nullptr);
    return hidden;
}

class TWinPopupHost : public IPopupHost {
public:
    void ShowPopup(TPopupMenu& menu, int x, int y) override { TrackMenu(menu, GetActiveWindow(), x, y); }
};

class TWinModalHost : public IModalHost {
public:
    explicit TWinModalHost(HWND owner) : owner_(owner) {}

    void RunModal(TForm& form) override {
        TFormWindow* window = FindFormWindow(form);
        if (!window) {
            made_.push_back(CreateTopWindow(form, owner_ ? owner_ : GetActiveWindow()));
            window = made_.back().get();
        }
        HWND self = window->Handle();
        // The owner and the window the user was in wait until the form closes.
        std::vector<HWND> disabled;
        HWND previous = GetActiveWindow();
        for (HWND w : {owner_, previous})
            if (w && w != self && IsWindowEnabled(w) &&
                std::find(disabled.begin(), disabled.end(), w) == disabled.end()) {
                EnableWindow(w, FALSE);
                disabled.push_back(w);
            }
        RefreshAll();
        MSG msg;
        while (form.Visible()) {
            BOOL got = GetMessageW(&msg, nullptr, 0, 0);
            if (got == 0) {
                PostQuitMessage(static_cast<int>(msg.wParam));
                break;
            }
            if (got < 0) break;
            if (!IsDialogMessageW(self, &msg)) {
                TranslateMessage(&msg);
                DispatchMessageW(&msg);
            }
        }
        for (HWND w : disabled) EnableWindow(w, TRUE);
        if (previous && IsWindow(previous)) SetActiveWindow(previous);
        RefreshAll();
    }

private:
    HWND owner_;
    std::vector<std::unique_ptr<TFormWindow>> made_;
};

std::unique_ptr<TWinModalHost> modalHost;
TWinPopupHost popupHost;
IModalHost* previousModal = nullptr;
IPopupHost* previousPopup = nullptr;
bool installed = false;

}  // namespace

void SetImageListProvider(TImageListProvider provider) { Provider() = std::move(provider); }

HIMAGELIST ImageListFor(const TForm* form, const TcxImageList* list) {
    HIMAGELIST out = nullptr;
    if (Provider()) Guarded("pictures", [&] { out = Provider()(form, list); });
    return out;
}

void TrackMenu(TPopupMenu& menu, HWND owner, int x, int y) {
    std::map<UINT, TMenuItem*> ids;
    TMenuPictures pictures;
    pictures.list = ImageListFor(menu.Owner());
    HMENU popup = CreatePopupMenu();
    AddItems(popup, menu.Items(), ids, pictures);
    UINT picked = static_cast<UINT>(TrackPopupMenu(popup, TPM_RETURNCMD | TPM_RIGHTBUTTON | TPM_NONOTIFY, x, y, 0,
                                                   MenuOwner(owner), nullptr));
    DestroyMenu(popup);
    auto it = ids.find(picked);
    if (it == ids.end()) return;
    // The menu has closed; the entry's handler runs as a message of its form.
    TMenuItem& item = *it->second;
    Guarded("menu", [&item] {
        if (item.Owner()) item.Owner()->Dispatch([&item] { item.Click(); });
        else item.Click();
    });
    RequestRefresh();
}

void InstallHosts(HWND owner) {
    if (installed) return;
    RegisterClasses();
    modalHost = std::make_unique<TWinModalHost>(owner);
    previousModal = SetModalHost(modalHost.get());
    previousPopup = SetPopupHost(&popupHost);
    installed = true;
}

void UninstallHosts() {
    if (!installed) return;
    SetModalHost(previousModal);
    SetPopupHost(previousPopup);
    modalHost.reset();
    installed = false;
}

}  // namespace win::ui
