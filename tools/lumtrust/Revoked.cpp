// The commands revoked and reinstate, and what revoke does with a certificate.
#include "lumtrust/Revoked.h"

#include <ctime>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "common/Arguments.h"
#include "common/ExitCode.h"
#include "common/ListOptions.h"
#include "common/NodeAccess.h"

namespace lumtrust {

using LumSecCore::RevocationList;
using lumtools::Printable;

namespace {

std::string TextOf(const MeantCertificate& meant) {
    const std::string name = meant.subject.empty() ? "a certificate" : meant.subject;
    return Printable(name + " (serial number " + meant.id.serial + " of " + meant.id.issuer + ")");
}

void Write(const RevocationList& list) {
    const std::string text = list.ToText();
    ReplaceFile(RevocationList::Path(), LumPalArray::CharArray_t(text.data(), text.size()), kPublicMode);
}

void RequireNotThisNodes(const MeantCertificate& meant) {
    if (!ServesThisNode(meant.id)) return;
    Refuse(
        "%1 is what this node shows, or what vouches for it: its own tools and its peers would be refused. Install "
        "another one first; --force revokes it all the same.",
        TextOf(meant));
}

int Reinstate(const CertificateChoice& choice) {
    const MeantCertificate meant = FindMeant(choice);
    const ChangeLock lock;
    RevocationList list = *RevocationList::Load();
    if (!list.Remove(meant.id)) {
        FlushWithFolder(RevocationList::Path());
        std::cerr << "lumtrust: not revoked: " << TextOf(meant) << std::endl;
        return lumtools::kNotFound;
    }
    Write(list);
    std::cout << "no longer revoked: " << TextOf(meant) << std::endl;
    TellDaemonOfKeys();
    return lumtools::kDone;
}

const lumtools::ListColumns kColumns{{"SERIAL", "ISSUER", "SUBJECT", "REVOKED"}, {0}};

struct Shown {
    CertificateChoice only;
    bool json = false;
    lumtools::ListOptions table;
};

void Print(const std::vector<RevocationList::Entry>& entries, const Shown& shown) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    lumtools::Table table(kColumns.headings);
    for (const auto& [id, since, subject] : entries) {
        rows.push_back({{"serial", id.serial}, {"issuer", id.issuer}, {"subject", subject}, {"since", since}});
        table.Add({id.serial, id.issuer, subject, since});
    }
    if (shown.json) {
        std::cout << nlohmann::ordered_json{{"revoked", rows}}.dump() << std::endl;
    } else {
        std::cout << shown.table.TextOf(std::move(table)) << std::flush;
    }
}

int ShowOne(const RevocationList& list, const Shown& shown) {
    const MeantCertificate meant = FindMeant(shown.only);
    std::vector<RevocationList::Entry> found;
    for (const RevocationList::Entry& entry : list.Get()) {
        RevocationList one;
        one.Add(entry);
        if (one.Holds(meant.id)) found.push_back(entry);
    }
    if (!found.empty() || shown.json) Print(found, shown);
    if (found.empty()) std::cerr << "lumtrust: not revoked: " << TextOf(meant) << std::endl;
    return found.empty() ? lumtools::kNotFound : lumtools::kDone;
}

int Show(const Shown& shown) {
    lumtools::RequireOpenKeys();
    const auto list = RevocationList::Load();
    if (shown.only.IsGiven()) return ShowOne(*list, shown);
    Print(list->Get(), shown);
    return lumtools::kDone;
}

}  // namespace

int RevokeCertificate(const CertificateChoice& choice, bool force) {
    const MeantCertificate meant = FindMeant(choice);
    const ChangeLock lock;
    RevocationList list = *RevocationList::Load();
    if (!force && !list.Holds(meant.id)) RequireNotThisNodes(meant);
    const bool isNew = list.Add({meant.id, UtcTime(std::time(nullptr)), meant.subject});
    isNew ? Write(list) : FlushWithFolder(RevocationList::Path());
    std::cout << (isNew ? "revoked: " : "nothing to do, revoked before: ") << TextOf(meant) << std::endl;
    // Also when it stood there: the last run may not have reached the daemon.
    TellDaemonOfKeys();
    return isNew ? lumtools::kDone : lumtools::kNothingToDo;
}

void RequireNotRevoked(const LumSecCore::X509Certificate& certificate) {
    const MeantCertificate meant{LumSecCore::CertificateId::Of(certificate), certificate.GetSubjectCN().ToUtf8()};
    if (RevocationList::Load()->Holds(meant.id))
        Refuse("%1 is revoked on this node; 'lumtrust reinstate' takes that back.", TextOf(meant));
}

void AddRevoked(CLI::App& app, Actions& actions) {
    auto choice = std::make_shared<CertificateChoice>();
    CLI::App* reinstate = app.add_subcommand("reinstate", "Take the revocation of a certificate back");
    reinstate->add_option("CERTIFICATE", choice->what, "Its file, or its SHA-256 fingerprint");
    AddSerialAndIssuer(*reinstate, *choice);
    actions.emplace_back(reinstate, [choice] { return Reinstate(*choice); });
    auto shown = std::make_shared<Shown>();
    CLI::App* revoked = app.add_subcommand("revoked", "List the certificates that are revoked on this node");
    revoked->add_option("CERTIFICATE", shown->only.what, "Only this one: its file, or its SHA-256 fingerprint");
    AddSerialAndIssuer(*revoked, shown->only);
    revoked->add_flag("--json", shown->json, "Print one JSON object");
    shown->table.AddTo(*revoked, shown->json, kColumns);
    actions.emplace_back(revoked, [shown] { return Show(*shown); });
}

}  // namespace lumtrust
