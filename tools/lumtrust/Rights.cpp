// The commands grant, revoke and rights.
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "LumSecAuth.h"
#include "LumSecRights.h"
#include "common/Arguments.h"
#include "common/ExitCode.h"
#include "common/ListOptions.h"
#include "common/Nearest.h"
#include "common/NodeAccess.h"
#include "lumtrust/Command.h"
#include "lumtrust/Revoked.h"
#include "lumtrust/RightsFile.h"

namespace lumtrust {

using lumtools::Printable;
using lumtools::Text;

namespace {

const std::vector<std::string> kRights{"install", "remove",    "enable",    "disable", "list",
                                       "modify",  "configget", "configset", "sign",    "all"};

struct Choices {
    std::string sender;
    std::vector<std::string> rights;
    CertificateChoice certificate;
    bool json = false, force = false;
    lumtools::ListOptions table;
};

const lumtools::ListColumns kColumns{{"SENDER", "RIGHTS"}, {0}};

std::string AllRights() {
    std::string text;
    for (const std::string& right : kRights) text += (text.empty() ? "" : ", ") + right;
    return text;
}

unsigned BitsOf(const std::vector<std::string>& words) {
    unsigned bits = 0;
    for (const std::string& word : words) {
        const auto right = LumSecAuth::RightBits(Text(word));
        if (!right || *right == 0) {
            throw CLI::ValidationError("'" + word + "' is none of the rights, " + AllRights() +
                                       lumtools::Suggestion(word, kRights));
        }
        bits |= *right;
    }
    return bits;
}

unsigned Held(const RightsFile& file, const std::string& sender) {
    const auto found = file.Get().find(sender);
    return found == file.Get().end() ? 0 : found->second;
}

struct Changed {
    unsigned before, after;
};

Changed Change(const std::string& sender, unsigned granted, unsigned revoked) {
    const ChangeLock lock;
    RightsFile file;
    const unsigned before = Held(file, sender), after = (before | granted) & ~revoked;
    before != after ? file.Set(sender, after) : RightsFile::Flush();
    return {before, after};
}

/// Aliases of certificates stand in lists too, and look like senders.
void HintAtCertificate(const std::string& name) {
    for (const char* part : {"own", "trusted"}) {
        if (!LumSecCore::IsAlias(Text(name)) || !StoreFile(part, Text(name), ".pem").Exists()) continue;
        const std::string path = StoreFile(part, Text(name), ".pem").ToString().ToUtf8();
        std::cerr << "lumtrust: a certificate of that name is revoked by "
                  << Printable("'lumtrust revoke --certificate " + path + "'") << std::endl;
    }
}

int ChangeAndTell(const std::string& sender, unsigned granted, unsigned revoked) {
    const auto [before, after] = Change(sender, granted, revoked);
    const std::string names = after ? LumSecAuth::RightNames(after).ToUtf8() : "no right";
    if (before == after) {
        std::cout << "nothing to do: " << Printable(sender) << " holds " << names << std::endl;
        if (after == 0) HintAtCertificate(sender);
        return lumtools::kNothingToDo;
    }
    std::cout << Printable(sender) << ": " << names << std::endl;
    TellDaemon();
    return lumtools::kDone;
}

int Grant(const Choices& choices) {
    if (LumSecAuth::IsReservedId(Text(choices.sender))) {
        Refuse("The id '%1' has a meaning of its own; no rights are granted to it.", choices.sender);
    }
    return ChangeAndTell(choices.sender, BitsOf(choices.rights), 0);
}

/// A sender who holds rights goes before a certificate that is called like him.
bool IsCertificateMeant(const Choices& choices) {
    return choices.rights.empty() && LooksLikeCertificate(choices.sender) &&
           !RightsFile().Get().contains(choices.sender);
}

int Revoke(const Choices& choices) {
    const bool isNamed = choices.certificate.IsGiven();
    if (isNamed == !choices.sender.empty())
        throw CLI::ValidationError("either a sender, or a certificate is to be named");
    if (isNamed) return RevokeCertificate(choices.certificate, choices.force);
    if (IsCertificateMeant(choices)) return RevokeCertificate({choices.sender, "", ""}, choices.force);
    return ChangeAndTell(choices.sender, 0, choices.rights.empty() ? ~0u : BitsOf(choices.rights));
}

int Show(const Choices& choices) {
    lumtools::RequireOpenNode();
    const RightsFile file;
    nlohmann::ordered_json senders = nlohmann::ordered_json::array();
    lumtools::Table table(kColumns.headings);
    for (const auto& [sender, bits] : file.Get()) {
        const std::string names = LumSecAuth::RightNames(bits).ToUtf8();
        senders.push_back({{"sender", sender}, {"rights", names}, {"bits", bits}});
        table.Add({sender, names});
    }
    if (choices.json) {
        std::cout << nlohmann::ordered_json{{"rights", senders}}.dump() << std::endl;
    } else {
        std::cout << choices.table.TextOf(std::move(table)) << std::flush;
    }
    const LumPalMsg::MessageList_t wrong = LumSecAuth::FindWrongRights();
    if (wrong.GetMessageCount() > 0)
        std::cerr << wrong.Format(LumPalMsg::Label | LumPalMsg::Text).ToUtf8() << std::endl;
    return lumtools::kDone;
}

}  // namespace

void AddRights(CLI::App& app, Actions& actions) {
    auto choices = std::make_shared<Choices>();
    CLI::App* grant = app.add_subcommand("grant", "Grant a sender rights on this node, besides those that it has");
    grant->add_option("SENDER", choices->sender, "The common name of the sender's certificate")->required();
    // The completion reads the names from here.
    const std::string named = "A right, by its number or its name: " + AllRights() + ".";
    grant->add_option("RIGHT", choices->rights, named)->required();
    actions.emplace_back(grant, [choices] { return Grant(*choices); });
    CLI::App* revoke = app.add_subcommand(
        "revoke", "Take rights from a sender, all when none is named; or let nobody in with a certificate");
    revoke->add_option(
        "SENDER", choices->sender,
        "The common name of the sender's certificate; or the file or SHA-256 fingerprint of a certificate "
        "that is revoked itself");
    revoke->add_option("RIGHT", choices->rights, named);
    revoke
        ->add_option("--certificate", choices->certificate.what, "Revoke this certificate, whatever it is called like")
        ->type_name("FILE|FINGERPRINT");
    AddSerialAndIssuer(*revoke, choices->certificate);
    revoke->add_flag("--force", choices->force, "Also a certificate without which this node is let in nowhere");
    actions.emplace_back(revoke, [choices] { return Revoke(*choices); });
    CLI::App* rights = app.add_subcommand("rights", "List who holds which rights on this node");
    rights->add_flag("--json", choices->json, "Print one JSON object");
    choices->table.AddTo(*rights, choices->json, kColumns);
    actions.emplace_back(rights, [choices] { return Show(*choices); });
}

}  // namespace lumtrust
