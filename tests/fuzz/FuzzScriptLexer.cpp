// Fuzz target: the lexer of the scripted host. Each line of the input either splits into words
// or raises the syntax error; words quoted back and split again are the same words; and the
// script reader hands out every line that is not skipped, numbered in order.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "FuzzCheck.h"
#include "sim/ScriptLexer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> words;
        try {
            words = sim::SplitWords(line);
        } catch (const sim::EScriptSyntax&) {
            continue;
        }
        std::string quoted;
        for (const std::string& w : words) quoted += sim::QuoteWord(w) + " ";
        FUZZ_CHECK(sim::SplitWords(quoted) == words);
    }

    sim::TScriptReader reader("fuzz", std::make_unique<std::istringstream>(text));
    int last = 0;
    while (auto line = reader.Next()) {
        FUZZ_CHECK(line->number > last);
        FUZZ_CHECK(!sim::IsSkippedLine(line->text));
        last = line->number;
    }
    return 0;
}
