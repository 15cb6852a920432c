#pragma once
// The services of the machine that the add-in uses besides the object model: message boxes and
// questions, registry reads, the desktop's work area and the cursor, help, the add-in's own
// file name, the diagnostic trace client, and the way to Excel. The host hands them to the
// module in one bundle.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace excel {
class IExcelServer;
}

namespace platform {

// The answer to a question.
enum class DialogAnswer { Yes, No, Cancel };

// The icon of a message box or question.
enum class DialogIcon { None, Information, Warning, Error, Confirmation };

// Modal message boxes with the system's own texts. Each call returns when the user has
// answered.
class IDialogs {
public:
    virtual ~IDialogs() = default;
    // A message with an OK button.
    virtual void ShowMessage(const std::string& text) = 0;
    // A question with Yes and No; answers Yes or No.
    virtual DialogAnswer AskYesNo(const std::string& text, DialogIcon icon = DialogIcon::Confirmation) = 0;
    // A question with Yes, No and Cancel.
    virtual DialogAnswer AskYesNoCancel(const std::string& text, DialogIcon icon = DialogIcon::None) = 0;
};

enum class RegistryRoot { CurrentUser, LocalMachine };

// Read access to the registry. Key paths are written with backslashes, as on Windows
// ("Software\\Microsoft\\Office\\16.0\\Outlook\\Options\\Shutdown"); a leading backslash is
// allowed and means the same key.
class IRegistry {
public:
    virtual ~IRegistry() = default;
    // A 32-bit value; nothing when the key or the value is absent or of another kind.
    virtual std::optional<uint32_t> ReadDword(RegistryRoot root, const std::string& keyPath,
                                              const std::string& valueName) = 0;
};

struct TRect {
    int Left = 0;
    int Top = 0;
    int Right = 0;
    int Bottom = 0;
    int Width() const { return Right - Left; }
    int Height() const { return Bottom - Top; }
};

struct TPoint {
    int X = 0;
    int Y = 0;
};

// Shapes of the mouse cursor.
inline constexpr int crDefault = 0;
inline constexpr int crHourGlass = -11;

// The screen: the desktop's work area (the screen less the task bar) and the mouse cursor: its
// position, and the shape it takes over the whole screen while the system works.
class IScreen {
public:
    virtual ~IScreen() = default;
    virtual TRect WorkArea() = 0;
    virtual TPoint CursorPos() = 0;
    virtual int Cursor() = 0;  // crDefault, crHourGlass
    virtual void SetCursor(int shape) = 0;
};

// The help viewer: opens a help file at a context number.
class IHelp {
public:
    virtual ~IHelp() = default;
    virtual void ShowContext(const std::string& helpFile, int context) = 0;
};

// The add-in's own file.
class IModuleInfo {
public:
    virtual ~IModuleInfo() = default;
    // Full path of the loaded add-in file ("C:\\Program Files\\Corvelle\\Corvelle.dll").
    virtual std::string ModuleFileName() = 0;
};

// The diagnostic trace client. Connect never raises and never waits long: when nobody
// listens it gives up and answers false.
class ITraceClient {
public:
    virtual ~ITraceClient() = default;
    virtual bool Connect(const std::string& host, int port) noexcept = 0;
    virtual void Disconnect() noexcept = 0;
    virtual bool Connected() const noexcept = 0;
};

// What the host hands the add-in module.
struct Services {
    std::shared_ptr<IDialogs> Dialogs;
    std::shared_ptr<IRegistry> Registry;
    std::shared_ptr<IScreen> Screen;
    std::shared_ptr<IHelp> Help;
    std::shared_ptr<IModuleInfo> Module;
    std::shared_ptr<ITraceClient> Trace;
    // Excel through COM (platform/Excel.h); empty on a machine where the host offers none.
    std::shared_ptr<excel::IExcelServer> Excel;
};

}  // namespace platform
