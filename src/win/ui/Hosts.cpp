// The desktop's hosts: the modal loop on real windows, menus tracked at the pointer, and the
// pictures' provider.
#include <algorithm>
#include <map>
#include <vector>

#include "win/ui/FormWindowImpl.h"
#include "win/ui/Pictures.h"

namespace win::ui {

namespace {

TImageListProvider& Provider() {
    static TImageListProvider provider;
    return provider;
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
