#pragma once
// The real forms of a started add-in (tasks, time entries, filed mails) drawn as Windows windows
// in a stand-in for Outlook's explorer window, with what a user does sent to those windows, and
// photographs of the screen taken by the test's wrapper script on request.
#include <windows.h>
#include <commctrl.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "filing/ufmEmails.h"
#include "sim/SimFiledItems.h"
#include "sim/SimOutlook.h"
#include "support/ufmAbout.h"
#include "support/ufmOptions.h"
#include "tasks/ufmAddTask.h"
#include "tasks/ufmNewTask.h"
#include "time/TimeFixture.h"
#include "win/res/Glyphs.h"
#include "win/ui/DrawnRecord.h"
#include "win/ui/Views.h"
#include "win/ui/WinUi.h"

class WinUiTest : public TimeTest {
protected:
    void SetUp() override {
        TimeTest::SetUp();
        WNDCLASSW wc{};
        wc.lpfnWndProc = DefWindowProcW;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.hbrBackground = GetSysColorBrush(COLOR_APPWORKSPACE);
        wc.lpszClassName = L"CorvelleTestExplorer";
        RegisterClassW(&wc);
        explorer = CreateWindowExW(0, wc.lpszClassName, L"Outlook", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 1280,
                                   800, nullptr, nullptr, wc.hInstance, nullptr);
        ASSERT_NE(explorer, nullptr);
        // The screen the forms place themselves on is the one the windows show on.
        RECT work{};
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
        host_->Screen->SetWorkArea({work.left, work.top, work.right, work.bottom});
        // The add-in's own glyphs, found as Corvelle.dll finds them.
        win::ui::SetImageListProvider([](const TForm* form, const TcxImageList* list) -> HIMAGELIST {
            if (list && list->Owner()) return win::res::ImageList(list->Owner()->Name() + "." + list->Name());
            return form ? win::res::FormImageList(form->Name()) : nullptr;
        });
    }
    void TearDown() override {
        windows.clear();
        win::ui::UninstallHosts();
        win::ui::SetImageListProvider(nullptr);
        DestroyWindow(explorer);
        TimeTest::TearDown();
    }

    // Lets the windows handle what is queued, for about so long.
    static void Pump(int milliseconds = 100) {
        auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        do {
            MSG msg;
            while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
                TranslateMessage(&msg);
                DispatchMessageW(&msg);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        } while (std::chrono::steady_clock::now() < until);
    }

    win::ui::TFormWindow& PaneWindow(TForm& form, int x, int y, int w, int h) {
        windows.push_back(win::ui::CreatePaneWindow(form, explorer));
        windows.back()->SetBounds(x, y, w, h);
        Pump();
        return *windows.back();
    }

    // The user's click with the mouse at a point of a window.
    static void ClickAt(HWND hwnd, int x, int y, bool right = false, bool twice = false) {
        POINT p{x, y};
        ClientToScreen(hwnd, &p);
        SetCursorPos(p.x, p.y);
        // The pointer is there before the button goes down (a desktop under load lags).
        for (int i = 0; i < 20; ++i) {
            Pump(25);
            POINT now{};
            GetCursorPos(&now);
            if (now.x == p.x && now.y == p.y) break;
        }
        Pump(50);
        for (int n = 0; n < (twice ? 2 : 1); ++n) {
            INPUT in[2] = {};
            in[0].type = in[1].type = INPUT_MOUSE;
            in[0].mi.dwFlags = right ? MOUSEEVENTF_RIGHTDOWN : MOUSEEVENTF_LEFTDOWN;
            in[1].mi.dwFlags = right ? MOUSEEVENTF_RIGHTUP : MOUSEEVENTF_LEFTUP;
            SendInput(2, in, sizeof(INPUT));
            Pump(30);
        }
        Pump(200);
    }

    // A picture of the screen, when the wrapper script takes them (CORVELLE_SCREENSHOTS).
    // With windows given, the part of the screen their client areas cover is written beside the
    // picture (NAME.box, as "WxH+X+Y"), for the pictures cut from it (without a window manager,
    // frames and captions are not drawn).
    static void Shot(const std::string& name, std::vector<HWND> windows = {}) {
        const char* dir = std::getenv("CORVELLE_SCREENSHOTS");
        if (!dir || !*dir) return;
        Pump(400);
        std::filesystem::path base = std::filesystem::path(dir) / name;
        RECT box{};
        for (HWND w : windows) {
            RECT r;
            if (!w || !GetClientRect(w, &r)) continue;
            MapWindowPoints(w, nullptr, reinterpret_cast<POINT*>(&r), 2);
            UnionRect(&box, &box, &r);
        }
        if (!IsRectEmpty(&box))
            std::ofstream(base.string() + ".box") << box.right - box.left << "x" << box.bottom - box.top << "+" << box.left
                                                  << "+" << box.top << "\n";
        std::filesystem::remove(base.string() + ".done");
        std::ofstream(base.string() + ".request") << name;
        auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!std::filesystem::exists(base.string() + ".done") && std::chrono::steady_clock::now() < until) Pump(100);
        std::filesystem::remove(base.string() + ".done");
    }

    // Opens a modal dialog and, once its loop runs, does what inside says (which must close it).
    void WhileModal(const std::function<void()>& open, const std::function<void(TForm&)>& inside) {
        static WinUiTest* self = nullptr;
        static std::function<void(TForm&)> pending;
        self = this;
        pending = inside;
        SetTimer(nullptr, 0, 150, [](HWND, UINT, UINT_PTR id, DWORD) {
            for (TForm* f : self->Dialogs())
                if (f && f->Modal() && f->Visible() && pending) {
                    KillTimer(nullptr, id);
                    auto run = std::move(pending);
                    pending = nullptr;
                    run(*f);
                    return;
                }
        });
        open();
        pending = nullptr;
    }

    // The popup menu that shows, if one does.
    static HWND ShownMenu() {
        for (HWND w = FindWindowExW(nullptr, nullptr, L"#32768", nullptr); w; w = FindWindowExW(nullptr, w, L"#32768", nullptr))
            if (IsWindowVisible(w)) return w;
        return nullptr;
    }

    // Opens a popup menu and, once it shows (its own loop runs meanwhile), does what inside says
    // with the menu's entries, then closes the menu as a click elsewhere does. A menu that never
    // shows is given up after ten seconds.
    static void WhileMenu(const std::function<void()>& open, const std::function<void(HMENU)>& inside) {
        static std::function<void(HMENU)> pending;
        static int ticks = 0;
        pending = inside;
        ticks = 0;
        UINT_PTR timer = SetTimer(nullptr, 0, 200, [](HWND, UINT, UINT_PTR id, DWORD) {
            HWND shown = ShownMenu();
            if (!pending || (!shown && ++ticks < 50)) return;
            KillTimer(nullptr, id);
            auto run = std::move(pending);
            pending = nullptr;
            if (shown) run(reinterpret_cast<HMENU>(SendMessageW(shown, MN_GETHMENU, 0, 0)));
            EndMenu();
        });
        open();
        KillTimer(nullptr, timer);
        pending = nullptr;
    }

    // A menu's entries as shown: the caption, and "+picture" after it for an entry with one.
    static std::vector<std::string> MenuEntries(HMENU menu) {
        std::vector<std::string> out;
        for (int i = 0; menu && i < GetMenuItemCount(menu); ++i) {
            wchar_t text[128] = {};
            MENUITEMINFOW info{};
            info.cbSize = sizeof info;
            info.fMask = MIIM_FTYPE | MIIM_STRING | MIIM_BITMAP;
            info.dwTypeData = text;
            info.cch = 127;
            GetMenuItemInfoW(menu, static_cast<UINT>(i), TRUE, &info);
            if (info.fType & MFT_SEPARATOR) continue;
            out.push_back(win::ui::U(text) + (info.hbmpItem ? "+picture" : ""));
        }
        return out;
    }

    std::vector<TForm*> Dialogs() {
        auto& g = Globals();
        return {g.fmNewTask.get(), g.fmTimeMemo.get(), g.fmChooseTask.get(), g.fmTimer.get(),
                g.fmOptions.get(), g.fmAddTask.get(),  g.fmAbout.get()};
    }

    // Mails filed on a task, as sending a new mail from the task pane files them.
    void FileMails(int task, const std::vector<std::string>& subjects) {
        Focus(task);
        for (const std::string& s : subjects) {
            Pane().Newemail1Click();
            auto draft = host_->Outlook.ActiveItem();
            ASSERT_NE(draft, nullptr);
            draft->UserSetProperty("Subject", Variant(s));
            sim::UserSendMail(*draft);
            host_->Outlook.DeliverItemAdds();
        }
    }

    HWND explorer = nullptr;
    std::vector<std::unique_ptr<win::ui::TFormWindow>> windows;
};
