// The commands that let a node do its own work: notify and reinit.
#include "LumPalPtr.h"
#include "PolicyForwarder.h"
#include "PolicyForwarderImpl.h"
#include "ReturnValue.h"
#include "common/Arguments.h"
#include "common/Lazy.h"
#include "lumpolicy/Command.h"

namespace lumpolicy {

using lumtools::Text;

namespace {

/// Counted references alone keep the object.
struct Holder {
    // kept: when the making throws in a member's initializer, g++ 12 does not free the memory; in a constructor it does
    Holder() : handle(new LumConf::PolicyForwarderImpl) {}
    const LumPalPtr::RefPtr_t<LumConf::PolicyForwarderImpl> handle;
};

class NodeWork : public HostCommand {
public:
    using Forwarder = LumConf::PolicyForwarderImpl;
    struct Row {
        const char *name, *help, *done, *foreseen;
        void (*send)(const Forwarder&, const LumPalStr::String_t& host);
        unsigned right;
    };

    NodeWork(CLI::App& command, const Row& row) : HostCommand(command), row(row) {
        command.add_flag("-n,--dry-run", dryRun, "Say what would be asked of the node; ask nothing");
    }

private:
    bool ChangesNodes() const override { return !dryRun; }
    bool TellsChanged() const override { return false; }
    unsigned GetRight() const override { return row.right; }

    Answer Ask(const std::string& host) const override {
        Answer answer;
        SetStep(host, row.name);
        if (dryRun) answer.fields["dry_run"] = true;
        answer.text = (dryRun ? row.foreseen : row.done) + host + "\n";
        if (!dryRun) answer.outcome = lumtools::Attempt([&] { row.send(*forwarder->handle, Text(host)); });
        if (answer.outcome.code != lumtools::kDone) answer.text.clear();
        return answer;
    }

    const Row& row;
    lumtools::Lazy<Holder> forwarder;
    bool dryRun = false;
};

const NodeWork::Row kRows[] = {
    {"notify", "Send what the node has queued for its consumers", "notified the consumers of ",
     "would send what is queued, which the node alone knows, to the consumers of ",
     [](const NodeWork::Forwarder& f, const LumPalStr::String_t& host) { f.Notify(host); }, LumConf::RightInstall},
    {"reinit", "Let the node read its store anew", "read anew: the store of ",
     "would read the store anew, which the node alone can look into, of ",
     [](const NodeWork::Forwarder& f, const LumPalStr::String_t& host) { f.ReinitCache(host, ""); },
     LumConf::RightModify},
};

}  // namespace

void AddNodeWork(CLI::App& app, Actions& actions) {
    for (const NodeWork::Row& row : kRows) {
        AddCommand<NodeWork>(app, actions, row.name, row.help, row);
    }
}

}  // namespace lumpolicy
