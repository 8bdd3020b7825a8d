/// @file
/// A command that asks nodes, many of them at once.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/Command.h"
#include "common/Hosts.h"
#include "common/NodesWork.h"
#include "common/StatusLine.h"

namespace lumtools {

/// Adds --target-id. An empty id is refused: it would let every node pass.
CLI::Option* AddTargetId(CLI::App& command, std::string& targetId);

/// Begins the answer of a dry run: "changes" takes what would change.
void BeginDryRun(Answer& answer);
/// Without any change there is nothing to do.
void EndDryRun(const std::string& host, Answer& answer);

/// A command that asks nodes: one or many, at the same time. One result a node, in the order in which they were given;
/// a terminal sees them as they come, and from one second on what the work waits for. With several nodes a summary at
/// the end, and an exit code for all of them. Who ends it early is told what is known of each node.
class HostCommand : public Command {
public:
    ExitCode Run() final;

protected:
    enum class Asks { AnyNodes, ThisNode };
    /// What asks this node alone has none of the options that name nodes.
    explicit HostCommand(CLI::App& command, Asks asks = Asks::AnyNodes);
    /// Checks the arguments and makes what all requests share, before any node is asked; none is after a failure.
    /// @throws CLI::Error
    virtual Outcome Prepare() { return {}; }
    /// Whether it changes nodes: then it goes on to the last of them although nobody reads its output any more.
    virtual bool ChangesNodes() const { return false; }
    /// Whether the member "changed" says what became of a node.
    virtual bool TellsChanged() const { return ChangesNodes(); }
    /// Whether all the work with a node may take longer than a question does.
    virtual bool TakesLong() const { return ChangesNodes(); }
    /// The right that its requests take, of LumConf::Right; 0 for what needs none but those to install and to list.
    virtual unsigned GetRight() const { return 0; }
    /// How it goes from node to node.
    virtual Rollout GetRollout() const { return {}; }
    /// Asks one node. Called on several threads at once. Must not throw.
    virtual Answer Ask(const std::string& host) const = 0;
    /// Completes what is known of a node that was asked and has not answered, for a user who ends the command. The
    /// outcome was not begun where nothing was sent that may change it.
    virtual void AddUnknown(Answer& /*known*/) const {}
    /// Whether what the nodes answer is shown as one text, when all have; failures are told as they come.
    virtual bool IsShownTogether() const { return false; }
    /// That text. @param answers  in the order in which the nodes were given
    virtual std::string ShowTogether(const std::vector<std::pair<std::string, const Answer*>>& /*answers*/) const {
        return "";
    }

    // For Ask, on any thread:
    /// Says what the work with the node waits for.
    void SetStep(const std::string& host, const std::string& step) const;
    /// Likewise, before the first step that may change the node: who ends the command meanwhile is told so.
    void SetQuestion(const std::string& host, const std::string& step) const;
    /// Adds to what is known of a node, in case that its answer never comes.
    void AddKnown(const std::string& host, const std::function<void(Answer&)>& add) const;
    Answer GetKnown(const std::string& host) const;
    bool AsksMany() const { return hosts.size() > 1; }
    /// Says warnings before the answer is there: on standard error at once; nothing with --json.
    void Warn(const LumPalMsg::MessageList_t& warnings) const;

private:
    Answer AskGuarded(const std::string& host) const;
    Answer AskWithin(std::size_t index) const;
    void AddUnanswered(std::size_t index, Answer& answer) const;
    void AddChanged(Answer& answer) const;
    void AskAll();
    void PrintArrived(const std::vector<std::size_t>& arrived);
    void PrintNode(std::size_t index);
    [[noreturn]] void EndEarly(ExitCode code);
    void FillUnknown(std::size_t index, ExitCode code);
    void PrintNotAsked(ExitCode code) const;
    void PrintNotTried() const;
    std::vector<const Answer*> GetAnswers() const;
    void PrintUnsent(const Outcome& outcome) const;
    void Print(const std::string& host, const Answer& answer) const;
    void PrintTogether() const;
    void PrintSummary() const;
    std::optional<std::chrono::seconds> GetTimeout() const;

    HostOptions hostOptions;
    std::vector<std::string> hosts;
    std::map<std::string, std::size_t> indexes;  ///< of the hosts
    std::vector<bool> printed;
    std::size_t firstUnprinted = 0;
    std::unique_ptr<StatusLine> line;
    std::unique_ptr<NodesWork> work;  // the last member: its threads use the others
};

}  // namespace lumtools
