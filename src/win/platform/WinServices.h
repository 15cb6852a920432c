#pragma once
// The services of the machine on Windows: message boxes and questions (MessageBoxW), registry
// reads, the desktop's work area and the cursor, HTML Help, the file name of the module that
// holds this code (the add-in's DLL, or a program), bitmaps whose pixels the process writes, and
// the bundle of them that a module gets.
// Each call raises Exception when Windows refuses it; none of them holds a window of its own.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <windows.h>

#include "platform/Services.h"

namespace win {

class TWinDialogs : public platform::IDialogs {
public:
    // caption: the title of every box.
    explicit TWinDialogs(std::string caption = "Corvelle") : caption_(std::move(caption)) {}
    void ShowMessage(const std::string& text) override;
    platform::DialogAnswer AskYesNo(const std::string& text,
                                    platform::DialogIcon icon = platform::DialogIcon::Confirmation) override;
    platform::DialogAnswer AskYesNoCancel(const std::string& text,
                                          platform::DialogIcon icon = platform::DialogIcon::None) override;

private:
    int Box(const std::string& text, unsigned flags);
    std::string caption_;
};

class TWinRegistry : public platform::IRegistry {
public:
    std::optional<uint32_t> ReadDword(platform::RegistryRoot root, const std::string& keyPath,
                                      const std::string& valueName) override;
};

class TWinScreen : public platform::IScreen {
public:
    platform::TRect WorkArea() override;
    platform::TPoint CursorPos() override;
    // The shape is set on the thread's cursor at once (the hourglass while the system works).
    int Cursor() override { return shape_; }
    void SetCursor(int shape) override;

private:
    int shape_ = platform::crDefault;
};

// Opens a compiled help file (.chm) through the HTML Help control, loaded when first asked.
class TWinHelp : public platform::IHelp {
public:
    void ShowContext(const std::string& helpFile, int context) override;
};

class TWinModuleInfo : public platform::IModuleInfo {
public:
    std::string ModuleFileName() override;
};

// A new 32-bit bitmap of the given size whose rows run top down, its pixels (BGRA) at *bits, made
// for the device context (null for none); null when it can't be made. The caller deletes it.
HBITMAP NewBitmap32(HDC dc, int width, int height, uint32_t** bits);

// The module (DLL or program) that holds this code (null if it can't be had), and its full path.
HMODULE ThisModule();
std::string ThisModuleFileName();

// All of them, with the Winsock trace client.
platform::Services WindowsServices();

}  // namespace win
