#include "lumpolicy/Command.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace lumpolicy {

using lumtools::Outcome;

namespace {

nlohmann::ordered_json ToJson(const Global& global, const Outcome& outcome, const std::string& subject) {
    nlohmann::ordered_json object;
    object["host"] = global.host;
    if (!subject.empty()) object["subject"] = subject;
    object["result"] = outcome.Word();
    object["code"] = outcome.code;
    object["messages"] = nlohmann::json::array();
    for (const auto& line : outcome.messages)
        object["messages"].push_back({{"level", line.level}, {"text", line.text}});
    return object;
}

}  // namespace

void Say(const Global& global, const Outcome& outcome, const std::string& subject, const std::string& success) {
    if (global.json) {
        std::cout << ToJson(global, outcome, subject).dump() << std::endl;
    } else if (outcome.code != lumtools::kDone) {
        lumtools::PrintFailure(std::cerr, "lumpolicy", outcome);
    } else if (!global.quiet) {
        std::cout << success << std::endl;
    }
}

}  // namespace lumpolicy
