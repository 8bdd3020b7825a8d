#include "lumconfd/ConfigCheck.h"

#include <functional>
#include <ostream>
#include <set>

#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalKeys.h"
#include "LumPalMsg.h"
#include "LumPalNet.h"
#include "LumPalRuntime.h"
#include "LumSecAuth.h"
#include "LumSecCore.h"
#include "LumVoxMsg.h"
#include "SettingsMerge.h"
#include "common/CertificateCheck.h"
#include "common/Counted.h"
#include "common/KnownKeys.h"
#include "lumconfd/SettingsFiles.h"

namespace lumconfd {

namespace {

using namespace LumPalKeys;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using lumtools::KnownKey;

/// Collects what is wrong.
class Report {
public:
    explicit Report(std::ostream& out) : out(out) {}
    /// Told once, also when several steps meet it.
    void Problem(const std::string& text) {
        if (problems.insert(text).second) out << text << "\n";
    }
    void Problems(const LumPalMsg::MessageList_t& found) {
        for (int i = 0; i < found.GetMessageCount(); ++i) {
            Problem(found.GetMessage(i).Format(LumPalMsg::BareText).ToUtf8());
        }
    }
    /// What a step raises is a problem.
    void Step(const std::function<void()>& step) {
        try {
            step();
        } catch (const std::exception& e) {
            Problem(e.what());
        }
    }
    /// What may be meant so, and hardly is.
    void Warn(const std::string& text) { out << "Warning: " << text << "\n"; }
    void Note(const std::string& text) { out << "Note: " << text << "\n"; }
    std::size_t GetCount() const { return problems.size(); }

private:
    std::ostream& out;
    std::set<std::string> problems;
};

/// The server itself tells what it would not take, and so does the key store once a certificate counts as installed.
bool IsToldElsewhere(const KnownKey& key, const ConfigGroup_t& group) {
    using Form = lumtools::ValueForm;
    if (key.form == Form::CoreId) return group.GetConfig(String_t(NsSecCmCert)).GetBool(CertInstalledKey);
    return key.form == Form::Range || key.form == Form::Address;
}

void CheckKeys(const ConfigGroup_t& group, Report& report) {
    for (const KnownKey& key : lumtools::KnownKeys()) {
        if (IsToldElsewhere(key, group) || !group.HasConfig(key.nameSpace)) continue;
        const Configuration_t configuration = group.GetConfig(String_t(key.nameSpace));
        if (!configuration.HasAttr(key.name)) continue;
        const std::string wrong = lumtools::WrongValue(key.nameSpace, key.name, configuration.GetAttrValue(key.name));
        if (!wrong.empty()) report.Problem(wrong);
    }
    for (const std::string& unknown : lumtools::UnknownKeys(group)) report.Warn(unknown);
    for (const std::string& idle : lumtools::KeysWithoutEffect(group)) report.Note(idle);
}

bool HasAddress(const String_t& address) try {
    return LumPalNet::InetAddress_t(address) == LumPalNet::InetAddress_t::GetLocalHost();
} catch (const LumPalNet::ConnectException_t&) {
    return false;
}

/// The daemon would not start; what it has not yet may come, as with an address that moves.
void CheckBindAddress(const ConfigGroup_t& group, Report& report) {
    const bool isTls = group.GetConfig(String_t(NsSecCmCert)).GetBool(CertInstalledKey);
    String_t address = group.GetConfig(String_t(NsVoxHttp)).GetValue(BindAddressKey);
    address.Trim();
    if (!isTls || !lumtools::IsBindAddress(address) || lumtools::IsAnyAddress(address) || HasAddress(address)) return;
    report.Warn(std::string("This host has no address ") + address.ToUtf8() + " (" + BindAddressKey +
                ") at the moment: the daemon would not start.");
}

void CheckServer(const ConfigGroup_t& group, Report& report) {
    const Configuration_t server = group.GetConfig(String_t(NsVoxHttp));
    report.Problems(LumVoxMsg::FindWrongLimits(server));
    const std::string apart = lumtools::PortsApart(server);
    if (!apart.empty()) report.Problem(apart + ".");
    CheckBindAddress(group, report);
}

void CheckSettings(Report& report) {
    const SettingsRead read = ReadSettingsFiles();
    for (const std::string& problem : read.problems) report.Problem(problem);
    CheckKeys(read.group, report);
    CheckServer(read.group, report);
}

/// A slip of the pen makes a node where none was meant.
void CheckRoot(Report& report) {
    const LumPalIo::File_t root(LumPalRuntime::Dir_t::Path(LumPalRuntime::Root));
    if (!root.Exists()) {
        report.Warn("There is no folder '" + root.ToString().ToUtf8() + "': the daemon makes it when it starts.");
    } else if (!root.IsDirectory()) {
        report.Problem("'" + root.ToString().ToUtf8() + "' is no folder.");
    }
}

/// A merge that the daemon gave up is seen in its log alone otherwise.
void CheckMerge(Report& report) {
    if (!LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Policies)).IsDirectory()) return;
    const LumConfPar::SettingsMerge merge;
    report.Problems(merge.GetProblems());
    merge.Merge();
}

/// TLS takes keys that sign no policies. That is no mistake: few nodes sign.
void TellWhetherTheNodeSigns(std::ostream& out) {
    LumSecCore::Key key;
    try {
        const String_t coreId = LumPalConfig::ConfigNamespace_t(NsSecCore).Open().GetValue(CoreIdKey);
        LumSecCore::KeyStore().GetPrivateKey(coreId, key);
    } catch (const LumPalMsg::Exception_t&) {
        return;  // there is none, or a problem that the other steps tell
    }
    try {
        LumSecCore::Signature(0).InitSign(key);
    } catch (const LumSecCore::InvalidKeyException& e) {
        out << "Note: with its key this node cannot sign policies. " << e.what() << "\n";
    }
}

}  // namespace

bool CheckConfiguration(std::ostream& out) {
    Report report(out);
    out << "root: " << LumPalRuntime::Dir_t::Path(LumPalRuntime::Root).ToUtf8() << "\n";
    CheckRoot(report);
    report.Step([&] { CheckSettings(report); });
    report.Step([&] { report.Problems(LumSecAuth::FindWrongRights()); });
    report.Step([] { LumSecCore::NodeIdentity::Load().RequireUsable(); });
    report.Step([&] {
        const lumtools::CertificateFindings found = lumtools::FindInCertificates(lumtools::Whose::Node);
        for (const std::string& problem : found.problems) report.Problem(problem);
        for (const std::string& hindrance : found.hindrances) report.Warn(hindrance);
        for (const std::string& warning : found.warnings) report.Warn(warning);
    });
    report.Step([&] { CheckMerge(report); });
    TellWhetherTheNodeSigns(out);
    out << (report.GetCount() == 0 ? "the configuration is in order" : lumtools::Counted(report.GetCount(), "problem"))
        << "\n";
    return report.GetCount() == 0;
}

}  // namespace lumconfd
