#include "sim/CommandLine.h"

#include <algorithm>
#include <fstream>

namespace sim {

bool TCommandLine::Has(std::string_view flag) const {
    return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

std::optional<TCommandLine> ReadCommandLine(int argc, char** argv, std::string_view program, std::string_view usage,
                                            std::initializer_list<std::string_view> flags, std::ostream& err) {
    TCommandLine line;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            line.help = true;
            return line;
        }
        if (arg == "--dir") {
            if (i + 1 >= argc) {
                err << program << ": --dir needs a folder\n" << usage;
                return std::nullopt;
            }
            line.dir = argv[++i];
        } else if (arg.rfind("--dir=", 0) == 0) {
            line.dir = arg.substr(6);
        } else if (std::find(flags.begin(), flags.end(), arg) != flags.end()) {
            line.flags.push_back(arg);
        } else if (arg.size() > 1 && arg[0] == '-') {
            err << program << ": unknown option " << arg << "\n" << usage;
            return std::nullopt;
        } else {
            line.scripts.push_back(arg);
        }
    }
    for (const std::string& s : line.scripts) {
        if (s == "-") continue;
        std::ifstream probe(s);
        if (!probe) {
            err << program << ": cannot open the script " << s << "\n";
            return std::nullopt;
        }
    }
    return line;
}

}  // namespace sim
