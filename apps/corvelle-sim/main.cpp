// corvelle-sim: the scripted headless host. It plays the Office host framework and a simulated
// Outlook around the add-in, runs script commands and prints what the system shows.
//
//   corvelle-sim [--dir DIR] [SCRIPT...]
//
// Runs the SCRIPT files in order ("-" is standard input), or standard input when none is given.
// DIR is the add-in's folder: the table files, the templates, "Clickme.txt", the help file; the
// workbooks that `excel save` writes go into its folder Workbooks. A given folder is used as it
// stands (it is made when it doesn't exist). Without --dir a new folder is made in the temporary
// folder, the files that ship with the add-in are copied into it, and "DIR <path>" is printed
// first.
//
// The shipped files are looked for in $CORVELLE_RESOURCES, else in a folder "resources" beside
// the program or above it (the build tree's, which holds the report templates made at build).
//
// Exit status: 0; 2 after "ERROR: line N: ..." or for a wrong command line.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "platform/System.h"
#include "sim/CommandLine.h"
#include "sim/ScriptHost.h"
#include "sim/ScriptLexer.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace {

constexpr int kExitError = 2;

const char* const kUsage = "usage: corvelle-sim [--dir DIR] [SCRIPT...]\n";

const char* const kHelp =
    "usage: corvelle-sim [--dir DIR] [SCRIPT...]\n"
    "\n"
    "Runs the add-in against a simulated Outlook, driven by the SCRIPT files in order (\"-\" or\n"
    "none: standard input). DIR is the add-in's folder; without it a new folder is made, the\n"
    "files that ship with the add-in are copied in, and \"DIR <path>\" is printed first.\n"
    "\n"
    "One command a line; blank lines and lines beginning with # are skipped. Words are separated\n"
    "by blanks; a word in double quotes may hold blanks, with \\\" and \\\\ its only escapes.\n"
    "\n"
    "  today YYYY-MM-DD [HH:MM[:SS]]    set the clock; it stands still between commands\n"
    "  tick [SECONDS]                   seconds pass (1): the clock moves on, and every enabled\n"
    "                                   timer ticks once a second, modal form or not\n"
    "  user \"NAME\" \"ADDRESS\"            the current Outlook user, before start\n"
    "  start | shutdown | quit          the start-up calls | the shutdown calls | Outlook's quit\n"
    "  explorer                         the explorer opens with the six panes\n"
    "  activate PANE | close PANE       a pane gets the focus | closes (close explorer: all)\n"
    "  close FORM                       the user closes a form's window\n"
    "  click FORM.CONTROL [ITEM]        a click on a button, menu item, check box (or an item)\n"
    "  click|dblclick FORM.TREE PATH    a click on a node: 3.1.2, #ID, or none\n"
    "  click|dblclick FORM.VIEW KEY     a click on a grid view's record by its key, or none\n"
    "  focus FORM.CONTROL [PATH|KEY]    the user moves the focus (to a node, to a record)\n"
    "  call FORM.HANDLER                run a handler by name; FORM may be module\n"
    "  ribbon \"CAPTION\"                 click a ribbon button\n"
    "  set FORM.CONTROL VALUE           the user types a value into a control (a date picker:\n"
    "                                   YYYY-MM-DD, picked; a duration edit: HH:MM:SS)\n"
    "  answer Yes|No|Cancel ...         answers for the coming questions\n"
    "  get NAME                         FORM.CONTROL[.PROPERTY], FORM.PROPERTY, a variable or\n"
    "                                   Screen.Cursor (-11 the hourglass, 0 the default); a\n"
    "                                   duration reads \"HH:MM:SS\"\n"
    "  tree FORM.TREE                   every node: [KEY] TEXT no= img= style=, * focused\n"
    "  grid FORM.VIEW                   every record: [KEY] COLUMN=\"TEXT\"|img:N ..., * focused;\n"
    "                                   GROUP \"TEXT\", GROUPFOOTER and FOOTER COLUMN=\"TOTAL\" ...\n"
    "  group FORM.VIEW COLUMN           the user drags a column's header into the grouping box\n"
    "  ungroup FORM.VIEW                the user empties the grouping box\n"
    "  cell FORM.VIEW KEY COLUMN VALUE  the user edits a record's cell in place (true|false)\n"
    "  tab FORM.PAGECONTROL INDEX       the user switches to the tab page of that index\n"
    "  drag FORM.TREE PATH ...          an Outlook drag passes over the nodes in turn\n"
    "  drop FORM.TREE PATH|none         the drop on a node, or on the empty space\n"
    "  menu \"CAPTION\"|none             the user picks an entry of the menu shown, or dismisses it\n"
    "  dragnode FORM.TREE PATH PATH     the tree's own drag of the first node onto the second\n"
    "  table NAME | file NAME | log     a table's rows | a table file's rows | this run's log\n"
    "  outlook folders | items FOLDER | item ENTRYID | add FOLDER CLASS [PROP=VALUE ...]\n"
    "  outlook delete ENTRYID | inspector | set PROP VALUE | save | send | close [discard]\n"
    "  outlook select FOLDER ENTRYID ... | fail MEMBER (GetCursorPos: the pointer's position)\n"
    "  add: Recipient=NAME, Member=\"NAME|ADDRESS\" (both may repeat), Attachments=N,\n"
    "  MessageClass=TEXT; dates YYYY-MM-DD[THH:MM[:SS]]. send: the mail of the active inspector\n"
    "  excel                            Excel's state, its open workbooks and their written cells\n"
    "  excel save | quit | absent       save them in Workbooks/ | Excel ends | no Excel from now on\n"
    "\n"
    "What the add-in shows is printed as it happens: MESSAGE: TEXT, CONFIRM: TEXT -> ANSWER,\n"
    "ASK: TEXT -> ANSWER, DISPLAY CLASS ENTRYID \"SUBJECT\", HELP FILE CONTEXT, MENU \"CAPTION\" | - | ...\n"
    "\n"
    "Exit status: 0; 2 after \"ERROR: line N: REASON\" or for a wrong command line.\n";

std::optional<fs::path> ResourceFolder(const char* argv0) {
    auto holds = [](const fs::path& p) {
        std::error_code ec;
        return fs::is_regular_file(p / "Clickme.txt", ec);
    };
    if (const char* env = std::getenv("CORVELLE_RESOURCES"); env && *env) {
        if (holds(env)) return fs::path(env);
        return std::nullopt;
    }
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) exe = fs::absolute(argv0, ec);
    for (fs::path dir = exe.parent_path(); !dir.empty(); dir = dir.parent_path()) {
        if (holds(dir / "resources")) return dir / "resources";
        if (dir == dir.parent_path()) break;
    }
    return std::nullopt;
}

std::string MakeFreshFolder() {
    std::string pattern = platform::TempFolder() + "corvelle-sim-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
#ifndef _WIN32
    if (::mkdtemp(buf.data())) return buf.data();
#endif
    throw std::runtime_error("cannot make a folder from " + pattern);
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<sim::TCommandLine> line = sim::ReadCommandLine(argc, argv, "corvelle-sim", kUsage, {}, std::cerr);
    if (!line) return kExitError;
    if (line->help) {
        std::cout << kHelp;
        return 0;
    }
    const std::optional<std::string>& dir = line->dir;
    const std::vector<std::string>& scripts = line->scripts;

    std::string folder;
    try {
        if (dir) {
            if (dir->empty()) throw std::runtime_error("--dir needs a folder");
            fs::create_directories(*dir);
            folder = *dir;
        } else {
            folder = MakeFreshFolder();
            if (auto resources = ResourceFolder(argv[0]))
                fs::copy(*resources, folder, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
            else
                std::cerr << "corvelle-sim: the files that ship with the add-in were not found; "
                             "set CORVELLE_RESOURCES to their folder\n";
        }
        folder = fs::absolute(folder).lexically_normal().string();
        while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    } catch (const std::exception& e) {
        std::cerr << "corvelle-sim: " << e.what() << "\n";
        return kExitError;
    }

    if (!dir) std::cout << "DIR " << folder << "\n";
    sim::TScriptReader reader(scripts, std::cin);
    sim::TScriptHost host(folder, std::cout);
    return host.Run(reader);
}
