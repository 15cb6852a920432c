#pragma once
// The words of a corvelle-sim script line, and the reading of script files line by line.
//
// Words are separated by blanks (spaces and tabs). A double quote opens a quoted part, which may
// hold blanks and ends at the next unescaped double quote; inside it, \" stands for a quote and
// \\ for a backslash, and no other escape exists. Quoted and plain parts next to each other make
// one word (Subject="Weekly report" is the word Subject=Weekly report); "" is an empty word.
// Outside quotes every character stands for itself, a backslash too.
#include <istream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// A line that can't be split into words; what() tells why.
class EScriptSyntax : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::vector<std::string> SplitWords(std::string_view line);

// The text in double quotes, with its quotes and backslashes escaped, so that SplitWords reads
// it back as one word.
std::string QuoteWord(std::string_view text);

// Whether the line is skipped: blank, or a comment (its first non-blank character is '#').
bool IsSkippedLine(std::string_view line);

// One command line of a script.
struct TScriptLine {
    std::string file;  // the script's name; "-" for standard input
    int number = 0;    // one-based line number within its file
    std::string text;  // as written, without its line end
};

// Reads the command lines of several scripts in order, or of one stream, as they are asked for,
// so that a script on standard input runs as it is typed. Blank lines and comments are skipped;
// a carriage return before the line end is dropped.
class TScriptReader {
public:
    // The files, read in order; an empty list reads the stream given (standard input).
    TScriptReader(std::vector<std::string> files, std::istream& standardInput);
    // One stream under a name.
    TScriptReader(std::string name, std::unique_ptr<std::istream> stream);
    ~TScriptReader();

    // The next command line; nothing at the end of the last script. A file that can't be opened
    // raises std::runtime_error.
    std::optional<TScriptLine> Next();

private:
    bool OpenNext();
    std::vector<std::string> files_;
    size_t nextFile_ = 0;
    std::istream* stdin_ = nullptr;
    std::unique_ptr<std::istream> owned_;
    std::istream* current_ = nullptr;
    std::string currentName_;
    int lineNo_ = 0;
    bool started_ = false;
};

}  // namespace sim
