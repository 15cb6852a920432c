#pragma once
// The command line that corvelle-sim and corvelle-winhost share:
//
//   PROGRAM [--dir DIR] [FLAG...] [SCRIPT...]
//
// ReadCommandLine reads it, and checks that every SCRIPT file but "-" can be opened. On a mistake
// it writes "PROGRAM: REASON" and the usage line to err and gives nothing; the caller exits with
// status 2.
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct TCommandLine {
    bool help = false;                 // --help or -h: nothing else was read
    std::optional<std::string> dir;    // --dir DIR or --dir=DIR
    std::vector<std::string> flags;    // those of the program's own flags given
    std::vector<std::string> scripts;  // in order; "-" is standard input

    bool Has(std::string_view flag) const;
};

std::optional<TCommandLine> ReadCommandLine(int argc, char** argv, std::string_view program, std::string_view usage,
                                            std::initializer_list<std::string_view> flags, std::ostream& err);

}  // namespace sim
