#include "common/Utf8Arguments.h"

#include <algorithm>
#include <iostream>

#include "common/Arguments.h"

namespace lumtools {

namespace {

constexpr std::size_t kMostShown = 200;

bool IsUtf8(const std::string& bytes) {
    return Text(bytes).ToUtf8() == bytes;
}

bool IsOption(const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-';
}

/// Bytes that a terminal shows as they are; of a long text its beginning.
std::string Shown(const std::string& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string shown;
    for (const char c : bytes.substr(0, kMostShown)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            shown += c;
        } else {
            shown += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return "'" + shown + "'" + (bytes.size() > kMostShown ? "..." : "");
}

/// Where the argument stands among the options; empty when no option is near.
std::string PlaceOf(const std::vector<std::string>& arguments, std::size_t index) {
    const std::string& argument = arguments[index];
    const std::string name = argument.substr(0, argument.find('='));
    if (IsOption(argument) && name != argument && IsUtf8(name)) return ", the value of " + Shown(name) + ",";
    if (IsOption(argument) || index == 0) return "";
    const std::string& before = arguments[index - 1];
    return IsOption(before) && before.find('=') == before.npos ? ", behind " + Shown(before) + "," : "";
}

}  // namespace

std::string WhatIsNotUtf8(const std::vector<std::string>& arguments) {
    const auto found = std::find_if_not(arguments.begin(), arguments.end(), IsUtf8);
    if (found == arguments.end()) return "";
    const auto index = static_cast<std::size_t>(found - arguments.begin());
    return "argument " + std::to_string(index + 1) + PlaceOf(arguments, index) + " is not UTF-8: " + Shown(*found);
}

bool AreArgumentsUtf8(const char* program, int argc, const char* const* argv) {
    // Without any argument there is not even the program's name.
    const std::string wrong =
        WhatIsNotUtf8(argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>());
    if (!wrong.empty()) std::cerr << program << ": " << wrong << std::endl;
    return wrong.empty();
}

}  // namespace lumtools
