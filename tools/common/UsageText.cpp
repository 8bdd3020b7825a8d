#include "common/UsageText.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "common/Nearest.h"

namespace lumtools {

namespace {

using std::string_view_literals::operator""sv;

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

/// What the parser says, in parts.
struct Parts {
    std::string name;    ///< of the option
    std::string_view a;  ///< what stands before the words that were looked for, behind the name and a colon
    std::string_view b;  ///< what stands behind them
};

std::optional<Parts> Split(std::string_view said, std::string_view words) {
    const std::size_t at = said.rfind(words), colon = said.find(": ");
    if (at == said.npos || colon == said.npos || colon + 2 > at) return {};
    return Parts{std::string(said.substr(0, colon)), said.substr(colon + 2, at - colon - 2),
                 said.substr(at + words.size())};
}

std::vector<std::string> WordsOf(std::string_view list) {
    std::vector<std::string> words;
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        words.emplace_back(list.substr(0, comma));
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return words;
}

std::string Joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string NoneOf(const Parts& said) {
    const std::vector<std::string> words = WordsOf(said.b.substr(0, said.b.find('}')));
    const std::string typed(said.a);
    return said.name + ": " + Quoted(typed) + " is none of " + Joined(words, ", ") + Suggestion(typed, words);
}

std::string NotInRange(const Parts& said) {
    constexpr std::string_view begin = "Value ";
    const std::string_view typed = said.a.starts_with(begin) ? said.a.substr(begin.size()) : said.a;
    return said.name + ": " + Quoted(typed) + " is no number from " + std::string(said.b);
}

std::string TooOften(const Parts& said) {
    return said.name + " is given " + std::string(said.b) + " times, and may be given once";
}

std::string Missing(const Parts& said) {
    const std::string_view type = said.b.substr(0, said.b.rfind(" missing"));
    const std::size_t set = type.find(":{");
    if (set == type.npos) return said.name + " needs a value: " + std::string(type);
    std::string_view list = type.substr(set + 2);
    list = list.substr(0, list.rfind('}'));
    return said.name + " needs a value: one of " + Joined(WordsOf(list), ", ");
}

struct Rule {
    std::string_view words;
    std::string (*text)(const Parts& said);
};

const Rule kRules[] = {
    {" not in {"sv, NoneOf},
    {" not in range "sv, NotInRange},
    {"At Most 1 required but received "sv, TooOften},
    {"1 required "sv, Missing},
};

std::string Translated(const std::string& said) {
    for (const Rule& rule : kRules) {
        if (const auto parts = Split(said, rule.words)) return rule.text(*parts);
    }
    return said;
}

/// "A excludes B", "A requires B".
std::string OfTwo(const std::string& said, std::string_view verb, const char* between, const char* behind) {
    const std::size_t at = said.find(verb);
    if (at == said.npos) return said;
    return said.substr(0, at) + between + said.substr(at + verb.size()) + behind;
}

std::vector<std::string> OptionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    }
    return names;
}

bool IsOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

std::vector<std::string> InOrder(std::vector<std::string> words, const std::vector<std::string>& arguments) {
    const auto placeOf = [&](const std::string& word) { return std::find(arguments.begin(), arguments.end(), word); };
    std::stable_sort(words.begin(), words.end(),
                     [&](const std::string& a, const std::string& b) { return placeOf(a) < placeOf(b); });
    return words;
}

/// One letter is near to every other: only in another case it was probably meant.
std::string NearOption(const std::string& name, const std::vector<std::string>& known) {
    if (name.size() != 2) return Suggestion(name, known);
    const auto isMeant = [&name](const std::string& one) {
        return one.size() == 2 &&
               std::tolower(static_cast<unsigned char>(one[1])) == std::tolower(static_cast<unsigned char>(name[1]));
    };
    const auto found = std::find_if(known.begin(), known.end(), isMeant);
    return found == known.end() ? "" : "; did you mean '" + *found + "'?";
}

bool HasOption(const std::vector<std::string>& words) {
    return std::any_of(words.begin(), words.end(), IsOption);
}

/// An option that there is not leaves its value behind, which is no fault of its own.
std::vector<std::string> Unexpected(const CLI::App& command, const std::vector<std::string>& left) {
    const std::vector<std::string> known = OptionsOf(command);
    std::vector<std::string> texts, rest;
    for (const std::string& word : left) {
        const std::string name = word.substr(0, word.find('='));
        IsOption(word) ? texts.push_back("there is no option " + Quoted(name) + NearOption(name, known))
                       : rest.push_back(Quoted(word));
    }
    if (texts.empty()) texts.push_back("not expected: " + Joined(rest, ", "));
    return texts;
}

}  // namespace

std::vector<std::string> TextsOf(const CLI::App& app, const CLI::App& command, const CLI::Error& error,
                                 const std::vector<std::string>& arguments) {
    const std::string said = error.what();
    switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
        case CLI::ExitCodes::ExtrasError:
            return Unexpected(command, InOrder(app.remaining(true), arguments));
        // What is missing may well be what follows an option that there is not.
        case CLI::ExitCodes::RequiredError:
            if (HasOption(app.remaining(true))) return Unexpected(command, InOrder(app.remaining(true), arguments));
            return {said};
        case CLI::ExitCodes::ExcludesError:
            return {OfTwo(said, " excludes ", " and ", " cannot be given together")};
        case CLI::ExitCodes::RequiresError:
            return {OfTwo(said, " requires ", " counts only with ", "")};
        case CLI::ExitCodes::ValidationError:
        case CLI::ExitCodes::ArgumentMismatch:
            return {Translated(said)};
        default:
            return {said};
    }
}

}  // namespace lumtools
