#include "BareSettings.h"

namespace bench {
namespace {

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

char UnitOf(char letter) {
    switch (letter) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case 's':
            return ' ';
        default:
            return letter;
    }
}

std::string Unescape(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escaped = text[i] == '\\' && i + 1 < text.size();
        result += escaped ? UnitOf(text[++i]) : text[i];
    }
    return result;
}

std::size_t FindEquals(std::string_view line) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '=') return i;
        if (line[i] == '\\') ++i;
    }
    return std::string_view::npos;
}

}  // namespace

BareSettings BareReadSettings(std::string_view text) {
    BareSettings settings;
    std::map<std::string, std::string>* current = nullptr;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
        end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = Trim(text.substr(begin, end - begin));
        if (line.empty() || line.front() == '#') continue;
        const std::size_t equals = FindEquals(line);
        if (line.front() == '[') {
            current = &settings[Unescape(Trim(line.substr(1, line.size() - 2)))];
        } else if (current && equals != std::string_view::npos) {
            (*current)[Unescape(Trim(line.substr(0, equals)))] = Unescape(Trim(line.substr(equals + 1)));
        }
    }
    return settings;
}

}  // namespace bench
