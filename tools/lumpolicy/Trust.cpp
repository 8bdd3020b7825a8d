// The commands about signatures: sign and verify. They ask no node.
#include <iostream>
#include <optional>

#include "Exceptions.h"
#include "LumPalIo.h"
#include "MessageNumbers.h"
#include "PolicyContainer.h"
#include "PolicyHeader.h"
#include "PolicyProof.h"
#include "SelectionContainer.h"
#include "common/Arguments.h"
#include "common/SelectionOptions.h"
#include "common/Table.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConf::PolicySigner;
using LumPalIo::File_t;
using lumtools::Attempt;
using lumtools::ExitCode;
using lumtools::Outcome;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

constexpr unsigned long kAnythingMayBeMissing = 0x3FE;

/// The worst of several: a failure stands before "nothing to do", and that before nothing else.
class Sum {
public:
    void Add(ExitCode code) {
        const bool better = !result || *result == lumtools::kDone || *result == lumtools::kNothingToDo;
        const bool worse = code != lumtools::kDone && code != lumtools::kNothingToDo;
        if (!result || (better && (worse || code == lumtools::kDone))) result = code;
    }
    ExitCode Get() const { return result.value_or(lumtools::kDone); }

private:
    std::optional<ExitCode> result;
};

class SignFiles : public Command {
public:
    explicit SignFiles(CLI::App& command) : Command(command) {
        command.add_option("FILE", files, "Header files (<id>_header.xml); the data files lie beside them")->required();
        aliasOption =
            command.add_option("--alias", alias, "The own entry of the key store that signs (the node's CORE_ID)")
                ->type_name("ALIAS");
    }

    ExitCode Run() override {
        Sum sum;
        for (const std::string& file : files) sum.Add(SignOne(file));
        return sum.Get();
    }

private:
    ExitCode SignOne(const std::string& name) const {
        PolicySigner signer;
        const Outcome outcome = Attempt([&] {
            const File_t file(Text(name));
            // An empty alias, as of an unset variable, does not mean the node's own key.
            if (aliasOption->count() > 0) {
                PolicyHeader::SignData(file, LumPalArray::CharArray_t(Text(alias)));
            } else {
                PolicyHeader::SignData(file);
            }
            signer = PolicySigner::Of(PolicyHeader::Read(file, kAnythingMayBeMissing));
        });
        Print(name, outcome, signer);
        return outcome.code;
    }

    void Print(const std::string& name, const Outcome& outcome, const PolicySigner& signer) const {
        if (json) {
            ordered_json object{{"file", name}};
            Fill(object, outcome);
            object["signer"] = ToJson(signer);
            std::cout << OneLine(object) << std::endl;
        } else if (outcome.code != lumtools::kDone) {
            lumtools::PrintFailure(std::cerr, "", outcome);
        } else if (!quiet) {
            std::cout << "signed: " << lumtools::Printable(name + " (" + Sentence(signer) + ")") << std::endl;
        }
    }

    std::vector<std::string> files;
    std::string alias;
    CLI::Option* aliasOption = nullptr;
};

/// What the proof of one data file came to.
struct Proof {
    std::string file;
    Outcome outcome;
};

/// One policy, and what is known of its signatures.
struct Verdict {
    std::string label;    ///< says which policy
    ordered_json fields;  ///< likewise
    PolicySigner signer;
    bool isUnsigned = false;
    LumConf::StrictSigners strict;
    std::vector<Proof> proofs;
    Outcome outcome;  ///< of the whole policy
};

using Prover = std::function<void(int index)>;

/// Every data file is proven, also behind one that failed. A policy without any has nothing that could be proven, and
/// that must not look like a proof.
void ProveAll(const PolicyHeader& header, const Prover& prove, Verdict& verdict) {
    verdict.signer = PolicySigner::Of(header);
    verdict.isUnsigned = IsUnsigned(header);
    verdict.strict = LumConf::StrictSigners::Of(header);
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        verdict.proofs.push_back({header.GetDataFile(i).ToUtf8(), Attempt([&] { prove(i); })});
        if (verdict.proofs.back().outcome.code != lumtools::kDone) verdict.outcome.code = lumtools::kFailed;
    }
    if (verdict.isUnsigned && !verdict.proofs.empty()) {
        verdict.outcome = {
            lumtools::kFailed,
            {{0, "The policy is not signed: it bears no certificate."}, {1, "'lumpolicy sign' signs its data files."}}};
    }
    if (verdict.proofs.empty()) {
        verdict.outcome = {lumtools::kNothingToDo, {{0, "The policy has no data file: nothing of it is signed."}}};
    }
}

Verdict VerifyFile(const std::string& name) {
    Verdict verdict{name, {{"file", name}}, {}, false, {}, {}, {}};
    const Outcome reading = Attempt([&] {
        const File_t file(Text(name));
        const PolicyHeader header = PolicyHeader::Read(file, kAnythingMayBeMissing);
        ProveAll(
            header, [&](int index) { LumConf::PolicyProof::Prove(header, index, file.GetParent()); }, verdict);
    });
    if (reading.code != lumtools::kDone) verdict.outcome = {lumtools::kFailed, reading.messages};
    return verdict;
}

Verdict VerifyInstalled(const PolicyHeader& header) {
    Verdict verdict{NameOf(header), {}, {}, false, {}, {}, {}};
    verdict.fields = {{"id", header.GetContainerId().ToUtf8()},
                      {"name", header.GetName().ToUtf8()},
                      {"type", header.GetTypeName().ToUtf8()}};
    const Prover prove = [&](int index) {
        LumPalArray::CharArray_t data;
        header.GetData(index, data);
    };
    ProveAll(header, prove, verdict);
    return verdict;
}

class Verify : public Command {
public:
    explicit Verify(CLI::App& command) : Command(command) {
        command.add_option("FILE", files, "Header files (<id>_header.xml); the data files lie beside them");
        command.add_flag("--installed", installed, "Policies of this node's store; all of them unless told otherwise");
        selectionOptions.AddTo(command, lumtools::SelectionOptions::Demand::No);
    }

    ExitCode Run() override {
        const lumtools::Selections selections = selectionOptions.Make();
        if (installed == !files.empty()) throw CLI::ValidationError("which policies? Give FILE... or --installed");
        if (!installed && selectionOptions.IsGiven())
            throw CLI::ValidationError("the options that select belong to --installed");
        Sum sum;
        if (installed) {
            VerifyStore(selections, sum);
        } else {
            for (const std::string& file : files) Tell(VerifyFile(file), sum);
        }
        return sum.Get();
    }

private:
    /// A header that cannot be read is told; the others are proven all the same.
    void VerifyStore(const lumtools::Selections& selections, Sum& sum) const {
        const PolicyContainer policies;
        const Outcome reading = Attempt([&] { policies.CheckPolicy(); });
        if (reading.code != lumtools::kDone) TellFailure(reading, sum);
        if (reading.code == lumtools::kRefused) return;  // of a store that is closed nothing is known
        const Outcome selecting = Attempt([&] { VerifySelected(policies, selections, sum); });
        if (selecting.code != lumtools::kDone) TellFailure(selecting, sum);
    }

    void VerifySelected(const PolicyContainer& policies, const lumtools::Selections& selections, Sum& sum) const {
        if (policies.IsEmpty())
            throw LumConf::NoPoliciesInstalledError(
                LumPalMsg::CreateError_t("No policies are installed on this node."));
        selections.Narrow(policies);
        LumConf::SelectionContainer selected;
        selected.Init(policies, selections.GetFirst());
        LumPalStr::String_t last;
        for (int i = 0; i < selected.GetCount(); ++i) {
            // A policy comes once for each attribute that was selected by its name.
            if (i > 0 && selected.GetId(i) == last) continue;
            last = selected.GetId(i);
            Tell(VerifyInstalled(policies.GetPolicyHeader(last)), sum);
        }
        if (selected.GetCount() == 0)
            throw LumConf::PolicyNotFoundError(LumPalMsg::CreateError_t("No policy of this node is selected."));
    }

    void TellFailure(const Outcome& outcome, Sum& sum) const {
        sum.Add(outcome.code);
        if (json) {
            ordered_json object;
            Fill(object, outcome);
            std::cout << OneLine(object) << std::endl;
        } else {
            lumtools::PrintFailure(std::cerr, "", outcome);
        }
    }

    void Tell(const Verdict& verdict, Sum& sum) const {
        sum.Add(verdict.outcome.code);
        json ? PrintJson(verdict) : PrintText(verdict);
    }

    static void PrintJson(const Verdict& verdict) {
        ordered_json object = verdict.fields;
        Fill(object, verdict.outcome);
        object["signer"] = ToJson(verdict.signer);
        object["strict_signers"] = {{"demanded", verdict.strict.demanded}, {"refusal", nullptr}};
        if (verdict.strict.refusal.IsNotEmpty()) object["strict_signers"]["refusal"] = verdict.strict.refusal.ToUtf8();
        object["data_files"] = ordered_json::array();
        for (const Proof& proof : verdict.proofs) {
            ordered_json one{{"name", proof.file}};
            Fill(one, proof.outcome);
            object["data_files"].push_back(std::move(one));
        }
        std::cout << OneLine(object) << std::endl;
    }

    void PrintText(const Verdict& verdict) const {
        if (!quiet) PrintHead(verdict);
        for (const Proof& proof : verdict.proofs) {
            const bool proven = proof.outcome.code == lumtools::kDone;
            if (!quiet) {
                std::cout << "  " << (proven ? "proven: " : "FAILED: ") << lumtools::Printable(proof.file) << std::endl;
            }
            // What holds for all of them is said once, behind them.
            const bool isToldOfAll = verdict.isUnsigned && proof.outcome.message == LumConf::kDataSignatureNotValidated;
            if (!proven && !isToldOfAll) lumtools::PrintFailure(std::cerr, "", proof.outcome);
        }
        if (!verdict.outcome.messages.empty()) {
            lumtools::PrintFailure(std::cerr, lumtools::Printable(verdict.label), verdict.outcome);
        }
    }

    static void PrintHead(const Verdict& verdict) {
        std::cout << lumtools::Printable(verdict.label) << std::endl;
        if (verdict.proofs.empty()) return;
        std::cout << "  " << (verdict.isUnsigned ? "not signed" : lumtools::Printable(Sentence(verdict.signer)))
                  << std::endl;
        if (verdict.signer.found) {
            std::cout << "  " << (verdict.signer.maySign ? "may" : "may NOT") << " sign policies for this node"
                      << std::endl;
        }
        if (verdict.strict.refusal.IsNotEmpty()) {
            std::cout << "  STRICT_SIGNERS " << (verdict.strict.demanded ? "refuses" : "would refuse")
                      << " it: " << lumtools::Printable(verdict.strict.refusal.ToUtf8()) << std::endl;
        }
    }

    std::vector<std::string> files;
    bool installed = false;
    lumtools::SelectionOptions selectionOptions;
};

}  // namespace

void AddTrust(CLI::App& app, Actions& actions) {
    AddCommand<SignFiles>(app, actions, "sign", "Sign the data files of policy files; asks no node");
    AddCommand<Verify>(app, actions, "verify", "Prove who signed the data files of policies; asks no node");
}

}  // namespace lumpolicy
