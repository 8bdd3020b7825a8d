// The commands that ask no node: validate and dump.
#include <fstream>
#include <iostream>

#include "LumPalIo.h"
#include "PolicyContainer.h"
#include "common/Arguments.h"
#include "common/NodeAccess.h"
#include "common/Table.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/DocumentWarnings.h"
#include "lumpolicy/SharedFiles.h"

namespace lumpolicy {

using LumPalIo::File_t;
using lumtools::Attempt;
using lumtools::ExitCode;
using lumtools::Outcome;
using lumtools::Text;

namespace {

/// Everything that is wrong with a header file and the data files beside it.
struct Verdict {
    LumConf::PolicyCheck check;
    Outcome outcome;
};

Verdict Validate(const std::string& name) {
    Verdict verdict;
    const Outcome checking = Attempt([&] { verdict.check = CheckFile(name); });
    if (checking.code != lumtools::kDone) {
        verdict.outcome = {lumtools::kFailed, checking.messages};
    } else if (!verdict.check.faults.empty()) {
        verdict.outcome = {lumtools::kFailed, LinesOf(verdict.check.faults)};
        verdict.outcome.messages.insert(verdict.outcome.messages.begin(),
                                        {0, "The policy file '" + name + "' is not in order."});
    }
    return verdict;
}

class ValidateFiles : public Command {
public:
    explicit ValidateFiles(CLI::App& command) : Command(command) {
        command.add_option("FILE", files, "Header files (<id>_header.xml); the data files lie beside them")->required();
    }

    ExitCode Run() override {
        ExitCode result = lumtools::kDone;
        GivenPolicies given;
        for (const std::string& file : files) {
            const Verdict verdict = Validate(file);
            if (result == lumtools::kDone) result = verdict.outcome.code;
            LumPalMsg::MessageList_t warnings = WarningsOf(file);
            warnings.Add(given.Add(verdict.check.header));
            Print(file, verdict, warnings);
        }
        return result;
    }

private:
    void Print(const std::string& file, const Verdict& verdict, const LumPalMsg::MessageList_t& warnings) const {
        const Outcome& outcome = verdict.outcome;
        if (json) {
            std::cout << OneLine(FileAnswer(file, verdict, warnings)) << std::endl;
            return;
        }
        lumtools::PrintWarnings(std::cerr, warnings);
        if (outcome.code != lumtools::kDone) {
            lumtools::PrintFailure(std::cerr, "", outcome);
        } else if (!quiet) {
            std::cout << "complete: " << file << std::endl;
        }
    }

    static nlohmann::ordered_json FileAnswer(const std::string& file, const Verdict& verdict,
                                             const LumPalMsg::MessageList_t& warnings) {
        nlohmann::ordered_json object{{"file", file}};
        Fill(object, verdict.outcome);
        FillFaults(object, verdict.check.faults);
        FillWarnings(object, warnings);
        return object;
    }

    std::vector<std::string> files;
};

class Dump : public Command {
public:
    explicit Dump(CLI::App& command) : Command(command) {
        command.add_option("--type", type, "Only the policies of this type")->type_name("TYPE");
        command.add_option("-o,--output", output, "The file to write, which is overwritten")
            ->type_name("FILE")
            ->required();
    }

    ExitCode Run() override {
        const Outcome outcome = Attempt([&] {
            lumtools::RequireOpenNode();  // else its store would look empty
            LumConf::PolicyContainer::Dump(File_t(Text(output)), Text(type));
        });
        if (outcome.code != lumtools::kDone) {
            lumtools::PrintFailure(std::cerr, "", outcome);
        } else if (!quiet) {
            std::cout << "wrote the policies of this node to " << output << std::endl;
        }
        return outcome.code;
    }

private:
    std::string type, output;
};

}  // namespace

void AddLocal(CLI::App& app, Actions& actions) {
    AddCommand<ValidateFiles>(app, actions, "validate", "Say all that is wrong with policy files; asks no node");
    AddCommand<Dump>(app, actions, "dump", "Write the policies of this node's store as one list");
}

}  // namespace lumpolicy
