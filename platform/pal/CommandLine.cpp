#include "CommandLine.h"

#include <optional>

#include "LumPalMsg.h"

namespace LumPalCmd {

using LumPalMsg::CreateError_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

namespace {

struct Splitter {
    void Take(char byte) {
        if (byte == '"') {
            quoted = !quoted;
            if (!word) word.emplace();
        } else if (!quoted && (byte == ' ' || byte == '\t')) {
            EndWord();
        } else {
            if (!word) word.emplace();
            *word += byte;
        }
    }
    void EndWord() {
        if (word) words.push_back(std::move(*word));
        word.reset();
    }

    std::vector<std::string> words;
    std::optional<std::string> word;
    bool quoted = false;
};

[[noreturn]] void Refuse(const char* text, const String_t& line) {
    throw IllegalArgumentError_t(CreateError_t(String_t(text)) << line);
}

}  // namespace

std::vector<std::string> SplitWords(const String_t& line) {
    const std::string bytes = line.ToUtf8();
    if (bytes.find('\0') != bytes.npos) Refuse("The command line '%1' holds a NUL character.", line);
    Splitter splitter;
    for (const char byte : bytes) splitter.Take(byte);
    if (splitter.quoted) Refuse("The command line '%1' has a quote that is not closed.", line);
    splitter.EndWord();
    if (splitter.words.empty() || splitter.words.front().empty())
        Refuse("The command line '%1' names no program.", line);
    return std::move(splitter.words);
}

}  // namespace LumPalCmd
