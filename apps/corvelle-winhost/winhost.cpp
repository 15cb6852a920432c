// corvelle-winhost: the Windows host of corvelle-sim's scripts. It plays Outlook around the real
// add-in: Corvelle.dll, made by its ProgID through COM (so it must be registered), connected to
// the simulated Outlook as Outlook's automation objects, and driven through the interfaces
// Outlook uses. Same arguments, commands and transcript as corvelle-sim:
//
//   corvelle-winhost [--dir DIR] [--window] [SCRIPT...]
//
// With --window it also draws Outlook's explorer window, where the add-in's panes show through
// the custom task pane service, and the scripts may take screenshots ("screenshot FILE [WINDOW]").
//
// The temporary folder (where the day log goes) is %CORVELLE_TMP% when that is set, so that runs
// side by side keep their logs apart; Wine sets TMP and TEMP itself.
//
// After the scripts Outlook goes away: the add-in is released and Outlook lets go of what it
// holds; a library that then still has live objects, or an automation object still referenced,
// is reported on standard error and the exit status is 3.
//
// Exit status: 0; 2 after "ERROR: line N: ..." or for a wrong command line; 3 as above.
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include <objbase.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "platform/System.h"
#include "sim/CommandLine.h"
#include "sim/ScriptLexer.h"
#include "win/com/ComSupport.h"
#include "win/platform/WinServices.h"
#include "win/winhost/WinScriptHost.h"

namespace fs = std::filesystem;

namespace {

constexpr int kExitError = 2;
constexpr int kExitLeak = 3;

const char* const kUsage = "usage: corvelle-winhost [--dir DIR] [--window] [SCRIPT...]\n";

std::optional<fs::path> ResourceFolder() {
    auto holds = [](const fs::path& p) {
        std::error_code ec;
        return fs::is_regular_file(p / "Clickme.txt", ec);
    };
    if (const char* env = std::getenv("CORVELLE_RESOURCES"); env && *env) {
        if (holds(env)) return fs::path(env);
        return std::nullopt;
    }
    // Beside the program (the release folder), or a "resources" folder beside it or above it.
    fs::path exe = fs::u8path(win::ThisModuleFileName());
    if (holds(exe.parent_path())) return exe.parent_path();
    for (fs::path dir = exe.parent_path(); !dir.empty(); dir = dir.parent_path()) {
        if (holds(dir / "resources")) return dir / "resources";
        if (dir == dir.parent_path()) break;
    }
    return std::nullopt;
}

std::string MakeFreshFolder() {
    std::string base = platform::TempFolder() + "corvelle-winhost-";
    for (unsigned attempt = 0; attempt < 1000; ++attempt) {
        std::string path = base + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(attempt);
        if (CreateDirectoryW(win::Wide(path).c_str(), nullptr)) return path;
    }
    throw std::runtime_error("cannot make a folder in " + platform::TempFolder());
}

// COM for the program's one thread, an apartment as Outlook's main thread is.
class TComApartment {
public:
    TComApartment() : ok_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ~TComApartment() {
        if (ok_) CoUninitialize();
    }
    bool Ok() const { return ok_; }

private:
    bool ok_;
};

}  // namespace

int main(int argc, char** argv) {
    // The transcript's lines end as corvelle-sim's do.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);

    if (const wchar_t* temp = _wgetenv(L"CORVELLE_TMP"); temp && *temp) {
        SetEnvironmentVariableW(L"TMP", temp);
        SetEnvironmentVariableW(L"TEMP", temp);
    }

    std::optional<sim::TCommandLine> line =
        sim::ReadCommandLine(argc, argv, "corvelle-winhost", kUsage, {"--window"}, std::cerr);
    if (!line) return kExitError;
    if (line->help) {
        std::cout << kUsage
                  << "\nThe commands are corvelle-sim's (corvelle-sim --help); with --window also\n"
                     "  screenshot FILE [WINDOW]   the screen, the explorer (\"explorer\") or a window\n"
                     "                             of that caption, as a PNG file\n";
        return 0;
    }
    const std::optional<std::string>& dir = line->dir;
    const std::vector<std::string>& scripts = line->scripts;
    const bool windows = line->Has("--window");

    std::string folder;
    try {
        if (dir) {
            if (dir->empty()) throw std::runtime_error("--dir needs a folder");
            fs::create_directories(*dir);
            folder = *dir;
        } else {
            folder = MakeFreshFolder();
            if (auto resources = ResourceFolder()) {
                for (const fs::directory_entry& e : fs::directory_iterator(*resources))
                    if (e.is_regular_file())
                        fs::copy_file(e.path(), fs::path(folder) / e.path().filename(),
                                      fs::copy_options::overwrite_existing);
            } else
                std::cerr << "corvelle-winhost: the files that ship with the add-in were not found; "
                             "set CORVELLE_RESOURCES to their folder\n";
        }
        folder = fs::absolute(folder).lexically_normal().make_preferred().string();
        while (folder.size() > 3 && (folder.back() == '\\' || folder.back() == '/')) folder.pop_back();
    } catch (const std::exception& e) {
        std::cerr << "corvelle-winhost: " << e.what() << "\n";
        return kExitError;
    }

    TComApartment com;
    if (!com.Ok()) {
        std::cerr << "corvelle-winhost: COM could not be started\n";
        return kExitError;
    }
    if (!dir) std::cout << "DIR " << folder << "\n";
    int status = 0;
    {
        sim::TScriptReader reader(scripts, std::cin);
        win::TWinScriptHost host(folder, std::cout);
        if (windows) host.EnableWindows();
        status = host.Run(reader);
        std::string left = host.Unload();
        if (!left.empty()) {
            std::cout.flush();
            std::cerr << "corvelle-winhost: at unload: " << left << "\n";
            if (status == 0) status = kExitLeak;
        }
    }
    std::cout.flush();
    return status;
}
