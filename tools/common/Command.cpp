#include "common/Command.h"

namespace lumtools {

void Fill(nlohmann::ordered_json& object, const Outcome& outcome) {
    object["result"] = outcome.Word();
    object["code"] = outcome.code;
    object["messages"] = nlohmann::json::array();
    for (const auto& line : outcome.messages) {
        object["messages"].push_back({{"level", line.level}, {"text", line.text}});
    }
}

std::string OneLine(const nlohmann::ordered_json& object) {
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string IsGiven(const std::string& argument) {
    return argument.empty() ? "must not be empty" : "";
}

Command::Command(CLI::App& command) {
    command.add_flag("--json", json, "Print one JSON object for each node");
    command.add_flag("-q,--quiet", quiet, "Print nothing on success");
}

}  // namespace lumtools
