// The commands that ask no node: validate and dump.
#include <fstream>
#include <iostream>

#include "LumPalIo.h"
#include "PolicyContainer.h"
#include "PolicyHeader.h"
#include "common/Arguments.h"
#include "common/Table.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/DocumentWarnings.h"
#include "lumpolicy/SharedFiles.h"

namespace lumpolicy {

using LumConf::PolicyHeader;
using LumPalIo::File_t;
using lumtools::Attempt;
using lumtools::ExitCode;
using lumtools::Outcome;
using lumtools::Text;

namespace {

/// What a policy lacks, each a detail.
std::vector<lumtools::MessageLine> FindLacks(const File_t& file, PolicyHeader& header) {
    LumPalMsg::MessageList_t missing;
    header = PolicyHeader::Read(file, missing);
    std::vector<lumtools::MessageLine> lacks;
    for (int i = 0; i < missing.GetMessageCount(); ++i) {
        lacks.push_back({1, missing.GetMessage(i).Format(LumPalMsg::BareText).ToUtf8()});
    }
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        const File_t data(file.GetParent(), header.GetDataFile(i));
        if (!data.Exists() || data.IsDirectory())
            lacks.push_back({1, "The data file '" + data.GetName().ToUtf8() + "' is not there."});
    }
    return lacks;
}

/// Everything that is wrong with a header file and the data files beside it.
Outcome Validate(const std::string& name, PolicyHeader& header) {
    std::vector<lumtools::MessageLine> lacks;
    const Outcome reading = Attempt([&] { lacks = FindLacks(File_t(Text(name)), header); });
    if (reading.code != lumtools::kDone) return {lumtools::kFailed, reading.messages};
    if (lacks.empty()) return reading;
    lacks.insert(lacks.begin(), {0, "The policy file '" + name + "' is not complete."});
    return {lumtools::kFailed, lacks};
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
            PolicyHeader header;
            const Outcome outcome = Validate(file, header);
            if (result == lumtools::kDone) result = outcome.code;
            LumPalMsg::MessageList_t warnings = WarningsOf(file);
            warnings.Add(given.Add(header));
            Print(file, outcome, warnings);
        }
        return result;
    }

private:
    void Print(const std::string& file, const Outcome& outcome, const LumPalMsg::MessageList_t& warnings) const {
        if (json) {
            std::cout << OneLine(FileAnswer(file, outcome, warnings)) << std::endl;
            return;
        }
        lumtools::PrintWarnings(std::cerr, warnings);
        if (outcome.code != lumtools::kDone) {
            lumtools::PrintFailure(std::cerr, "", outcome);
        } else if (!quiet) {
            std::cout << "complete: " << file << std::endl;
        }
    }

    static nlohmann::ordered_json FileAnswer(const std::string& file, const Outcome& outcome,
                                             const LumPalMsg::MessageList_t& warnings) {
        nlohmann::ordered_json object{{"file", file}};
        Fill(object, outcome);
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
        const Outcome outcome = Attempt([&] { LumConf::PolicyContainer::Dump(File_t(Text(output)), Text(type)); });
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
