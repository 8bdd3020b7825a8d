// The commands that are one request without an answer of their own: remove, notify, reinit.
#include "LumPalPtr.h"
#include "PolicyForwarder.h"
#include "PolicyForwarderImpl.h"
#include "common/Arguments.h"
#include "common/SelectionOptions.h"
#include "lumpolicy/Command.h"

namespace lumpolicy {

using LumConf::PolicyForwarder;
using lumtools::Attempt;
using lumtools::ExitCode;
using lumtools::Outcome;
using lumtools::SelectionOptions;
using lumtools::Text;

namespace {

class Remove : public Command {
public:
    explicit Remove(CLI::App& command) {
        selection.AddTo(command, SelectionOptions::Demand::Yes);
        command.add_flag("--no-notify", noNotify, "Queue the notification of consumers; 'lumpolicy notify' sends it");
        command.add_option("--target-id", targetId, "Id of the target")->type_name("ID");
    }

    ExitCode Run(const Global& global) override {
        const auto selected = selection.Make();
        const Outcome outcome = Attempt([&] {
            PolicyForwarder().Remove(Text(global.host), selected,
                                     PolicyForwarder::Options().SetNotify(!noNotify).SetTargetID(Text(targetId)));
        });
        Say(global, outcome, "", "removed from " + global.host);
        return outcome.code;
    }

private:
    SelectionOptions selection;
    bool noNotify = false;
    std::string targetId;
};

class Notify : public Command {
public:
    ExitCode Run(const Global& global) override {
        const Outcome outcome = Attempt([&] { PolicyForwarder().Notify(Text(global.host)); });
        Say(global, outcome, "", "notified the consumers of " + global.host);
        return outcome.code;
    }
};

class Reinit : public Command {
public:
    ExitCode Run(const Global& global) override {
        const Outcome outcome = Attempt([&] {
            const LumPalPtr::RefPtr_t<LumConf::PolicyForwarderImpl> forwarder(new LumConf::PolicyForwarderImpl);
            forwarder->ReinitCache(Text(global.host), "");
        });
        Say(global, outcome, "", global.host + " has read its store anew");
        return outcome.code;
    }
};

}  // namespace

std::unique_ptr<Command> AddRemove(CLI::App& app, CLI::App*& subcommand) {
    subcommand = app.add_subcommand("remove", "Remove installed policies");
    return std::make_unique<Remove>(*subcommand);
}

std::unique_ptr<Command> AddNotify(CLI::App& app, CLI::App*& subcommand) {
    subcommand = app.add_subcommand("notify", "Send what the node has queued for its consumers");
    return std::make_unique<Notify>();
}

std::unique_ptr<Command> AddReinit(CLI::App& app, CLI::App*& subcommand) {
    subcommand = app.add_subcommand("reinit", "Let the node read its store anew");
    return std::make_unique<Reinit>();
}

}  // namespace lumpolicy
