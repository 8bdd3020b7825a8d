#include "Answers.h"

#include <algorithm>

namespace sim {

std::string Word(const StateNames& words, const std::string& state) {
    const auto found = words.find(state);
    return found == words.end() ? state : found->second;
}

Answer Line(const std::string& text) {
    return {text + "\n", "", 0};
}

Answer Lines(const std::vector<std::string>& texts) {
    Answer answer;
    for (const std::string& text : texts) answer.out += text + "\n";
    return answer;
}

Answer Refused(const std::string& text, int code) {
    return {"", text + "\n", code};
}

std::string Column(const std::string& text, std::size_t width) {
    return text + std::string(std::max<std::size_t>(width, text.size() + 1) - text.size(), ' ');
}

bool IsOn(const Group& group, const std::string& system) {
    return std::any_of(group.systems.begin(), group.systems.end(), [&](const auto& s) { return s.first == system; });
}

std::string StateOn(const Group& group, const std::string& system) {
    const auto found = group.states.find(system);
    return found == group.states.end() ? "offline" : found->second;
}

std::string OwnerOf(const Group& group) {
    for (const auto& [system, priority] : group.systems) {
        if (StateOn(group, system) == "online") return system;
    }
    return "";
}

}  // namespace sim
