#include "win/platform/WinServices.h"

#include <windows.h>

#include "base/Exceptions.h"
#include "platform/Text.h"
#include "platform/TraceClient.h"

namespace win {
namespace {

std::wstring Wide(const std::string& utf8) {
    std::u16string w = platform::Utf8ToUtf16(utf8);
    return std::wstring(w.begin(), w.end());
}

std::string Utf8(const wchar_t* text, size_t n) {
    return platform::Utf16ToUtf8(std::u16string(text, text + n));
}

unsigned IconFlags(platform::DialogIcon icon) {
    switch (icon) {
        case platform::DialogIcon::None: return 0;
        case platform::DialogIcon::Information: return MB_ICONINFORMATION;
        case platform::DialogIcon::Warning: return MB_ICONWARNING;
        case platform::DialogIcon::Error: return MB_ICONERROR;
        case platform::DialogIcon::Confirmation: return MB_ICONQUESTION;
    }
    return 0;
}

[[noreturn]] void RaiseLastError(const char* what) {
    DWORD code = GetLastError();
    throw Exception(std::string(what) + " failed (error " + std::to_string(code) + ")");
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Message boxes

int TWinDialogs::Box(const std::string& text, unsigned flags) {
    // Owned by the window the user works in, so that the box is modal to Outlook's window.
    int r = MessageBoxW(GetActiveWindow(), Wide(text).c_str(), Wide(caption_).c_str(),
                        flags | MB_SETFOREGROUND);
    if (r == 0) RaiseLastError("MessageBox");
    return r;
}

void TWinDialogs::ShowMessage(const std::string& text) { Box(text, MB_OK); }

platform::DialogAnswer TWinDialogs::AskYesNo(const std::string& text, platform::DialogIcon icon) {
    return Box(text, MB_YESNO | IconFlags(icon)) == IDYES ? platform::DialogAnswer::Yes : platform::DialogAnswer::No;
}

platform::DialogAnswer TWinDialogs::AskYesNoCancel(const std::string& text, platform::DialogIcon icon) {
    switch (Box(text, MB_YESNOCANCEL | IconFlags(icon))) {
        case IDYES: return platform::DialogAnswer::Yes;
        case IDNO: return platform::DialogAnswer::No;
        default: return platform::DialogAnswer::Cancel;
    }
}

// ---------------------------------------------------------------------------------------------
// Registry

std::optional<uint32_t> TWinRegistry::ReadDword(platform::RegistryRoot root, const std::string& keyPath,
                                                const std::string& valueName) {
    std::string path = keyPath;
    while (!path.empty() && path.front() == '\\') path.erase(path.begin());
    while (!path.empty() && path.back() == '\\') path.pop_back();
    HKEY hive = root == platform::RegistryRoot::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    DWORD value = 0;
    DWORD size = sizeof value;
    LSTATUS rc = RegGetValueW(hive, Wide(path).c_str(), Wide(valueName).c_str(), RRF_RT_REG_DWORD, nullptr,
                              &value, &size);
    if (rc != ERROR_SUCCESS) return std::nullopt;
    return static_cast<uint32_t>(value);
}

// ---------------------------------------------------------------------------------------------
// Screen

platform::TRect TWinScreen::WorkArea() {
    RECT r{};
    if (!SystemParametersInfoW(SPI_GETWORKAREA, 0, &r, 0)) RaiseLastError("SystemParametersInfo");
    return {r.left, r.top, r.right, r.bottom};
}

platform::TPoint TWinScreen::CursorPos() {
    POINT p{};
    if (!GetCursorPos(&p)) RaiseLastError("GetCursorPos");
    return {p.x, p.y};
}

void TWinScreen::SetCursor(int shape) {
    shape_ = shape;
    ::SetCursor(LoadCursorW(nullptr, shape == platform::crHourGlass ? IDC_WAIT : IDC_ARROW));
}

// ---------------------------------------------------------------------------------------------
// Help

void TWinHelp::ShowContext(const std::string& helpFile, int context) {
    using HtmlHelpProc = HWND(WINAPI*)(HWND, LPCWSTR, UINT, DWORD_PTR);
    constexpr UINT kHelpContext = 0x000F;  // HH_HELP_CONTEXT
    static HtmlHelpProc htmlHelp = [] {
        HMODULE control = LoadLibraryW(L"hhctrl.ocx");
        return control ? reinterpret_cast<HtmlHelpProc>(
                             reinterpret_cast<void*>(GetProcAddress(control, "HtmlHelpW")))
                       : nullptr;
    }();
    if (!htmlHelp) throw Exception("The help viewer (hhctrl.ocx) is not installed");
    htmlHelp(GetDesktopWindow(), Wide(helpFile).c_str(), kHelpContext, static_cast<DWORD_PTR>(context));
}

// ---------------------------------------------------------------------------------------------
// The module's file

HBITMAP NewBitmap32(HDC dc, int width, int height, uint32_t** bits) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* pixels = nullptr;
    HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
    *bits = bitmap ? static_cast<uint32_t*>(pixels) : nullptr;
    return bitmap;
}

HMODULE ThisModule() {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&ThisModule)), &self);
    return self;
}

std::string ThisModuleFileName() {
    const HMODULE self = ThisModule();
    if (!self) RaiseLastError("GetModuleHandleEx");
    std::wstring buf(MAX_PATH, L'\0');
    for (;;) {
        DWORD n = GetModuleFileNameW(self, buf.data(), static_cast<DWORD>(buf.size()));
        if (n == 0) RaiseLastError("GetModuleFileName");
        if (n < buf.size()) return Utf8(buf.data(), n);
        buf.resize(buf.size() * 2);  // a long path: try again with room for it
    }
}

std::string TWinModuleInfo::ModuleFileName() { return ThisModuleFileName(); }

platform::Services WindowsServices() {
    platform::Services s;
    s.Dialogs = std::make_shared<TWinDialogs>();
    s.Registry = std::make_shared<TWinRegistry>();
    s.Screen = std::make_shared<TWinScreen>();
    s.Help = std::make_shared<TWinHelp>();
    s.Module = std::make_shared<TWinModuleInfo>();
    s.Trace = std::make_shared<platform::TTcpTraceClient>();
    return s;
}

}  // namespace win
