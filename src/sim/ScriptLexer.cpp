#include "sim/ScriptLexer.h"

#include <fstream>

namespace sim {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

std::vector<std::string> SplitWords(std::string_view line) {
    std::vector<std::string> words;
    size_t i = 0;
    const size_t n = line.size();
    while (true) {
        while (i < n && IsBlank(line[i])) ++i;
        if (i >= n) break;
        std::string word;
        while (i < n && !IsBlank(line[i])) {
            char c = line[i];
            if (c != '"') {
                word += c;
                ++i;
                continue;
            }
            const size_t open = i++;
            bool closed = false;
            while (i < n) {
                char q = line[i++];
                if (q == '"') {
                    closed = true;
                    break;
                }
                if (q == '\\') {
                    if (i >= n) break;
                    char e = line[i++];
                    if (e != '"' && e != '\\')
                        throw EScriptSyntax(std::string("bad escape \\") + e + " in a quoted word (only \\\" and \\\\)");
                    word += e;
                    continue;
                }
                word += q;
            }
            if (!closed) throw EScriptSyntax("no closing quote for the quote at column " + std::to_string(open + 1));
        }
        words.push_back(std::move(word));
    }
    return words;
}

std::string QuoteWord(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
    return out;
}

bool IsSkippedLine(std::string_view line) {
    for (char c : line) {
        if (IsBlank(c) || c == '\r') continue;
        return c == '#';
    }
    return true;
}

TScriptReader::TScriptReader(std::vector<std::string> files, std::istream& standardInput)
    : files_(std::move(files)), stdin_(&standardInput) {}

TScriptReader::TScriptReader(std::string name, std::unique_ptr<std::istream> stream)
    : owned_(std::move(stream)), current_(owned_.get()), currentName_(std::move(name)), started_(true) {}

TScriptReader::~TScriptReader() = default;

bool TScriptReader::OpenNext() {
    owned_.reset();
    current_ = nullptr;
    lineNo_ = 0;
    if (!started_) {
        started_ = true;
        if (files_.empty()) {
            current_ = stdin_;
            currentName_ = "-";
            return true;
        }
    }
    if (nextFile_ >= files_.size()) return false;
    currentName_ = files_[nextFile_++];
    if (currentName_ == "-") {
        current_ = stdin_;
        return true;
    }
    auto file = std::make_unique<std::ifstream>(currentName_, std::ios::binary);
    if (!*file) throw std::runtime_error("cannot open the script " + currentName_);
    owned_ = std::move(file);
    current_ = owned_.get();
    return true;
}

std::optional<TScriptLine> TScriptReader::Next() {
    while (true) {
        if (!current_ && !OpenNext()) return std::nullopt;
        std::string line;
        if (!std::getline(*current_, line)) {
            current_ = nullptr;
            continue;
        }
        ++lineNo_;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (IsSkippedLine(line)) continue;
        return TScriptLine{currentName_, lineNo_, std::move(line)};
    }
}

}  // namespace sim
