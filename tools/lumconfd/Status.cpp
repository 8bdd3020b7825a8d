#include "lumconfd/Status.h"

#include "common/Arguments.h"
#include "common/NodeStatusText.h"

namespace lumconfd {

using lumtools::Answer;

namespace {

struct Row {
    const char *name, *help;
};

constexpr Row kRows[] = {
    {"--timeout", "With --status: the longest time for that (default: 60)"},
    {"--json", "With --status: print one JSON object"},
    {"--quiet", "With --status: print nothing when all is well"},
};

}  // namespace

Status::Status(CLI::App& app, CLI::Option* only) : HostCommand(app, Asks::ThisNode) {
    for (const Row& row : kRows) app.get_option(row.name)->needs(only)->description(row.help);
}

Answer Status::Ask(const std::string& host) const {
    Answer answer;
    LumConf::NodeStatus status;
    answer.outcome = lumtools::Attempt([&] { status = forwarder->GetStatus(lumtools::Text(host), ""); });
    if (answer.outcome.code == lumtools::kDone) {
        answer.text = lumtools::TextOf(status);
        answer.fields = lumtools::ToJson(status);
        answer.outcome = lumtools::Judge(status);
    }
    const bool isKnown = answer.outcome.code == lumtools::kDone || answer.outcome.code == lumtools::kRefused;
    if (!isKnown) answer.outcome.code = lumtools::kFailed;
    return answer;
}

}  // namespace lumconfd
