#include "common/LocalCommand.h"

#include <iostream>

#include "common/Table.h"

namespace lumtools {

ExitCode LocalCommand::Run() {
    Answer answer;
    const Outcome outcome = Attempt([&] { Work(answer); });
    if (outcome.code != kDone) answer = {outcome, "", false, {}};
    if (json) {
        nlohmann::ordered_json object;
        Fill(object, answer.outcome);
        if (!answer.fields.is_null()) object.update(answer.fields);
        std::cout << OneLine(object) << std::endl;
    } else {
        if (!quiet) std::cout << (IsPrintable() ? answer.text : PrintableLines(answer.text)) << std::flush;
        if (answer.outcome.code != kDone) PrintFailure(std::cerr, "", answer.outcome);
    }
    return answer.outcome.code;
}

void LocalCommand::TellProblems(const LumPalMsg::MessageList_t& problems, Answer& answer) const {
    answer.fields["problems"] = nlohmann::ordered_json::array();
    for (const MessageLine& line : LinesOf(problems)) {
        answer.fields["problems"].push_back({{"level", line.level}, {"text", line.text}});
    }
    if (!json) PrintWarnings(std::cerr, problems);
}

}  // namespace lumtools
