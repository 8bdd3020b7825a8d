#include "NodeCondition.h"

#include <ctime>
#include <utility>

#include "LumCtrl.h"
#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumPalLog.h"
#include "LumPalWhole.h"
#include "LumSecCore.h"
#include "LumSecPki.h"
#include "Names.h"
#include "NodeHealth.h"
#include "PolicyOperation.h"

namespace LumConf {

using LumPalConfig::ConfigNamespace_t;
using LumPalMetrics::Sample;
using LumPalStr::String_t;
using LumSecCore::NodeIdentity;
using LumSecCore::X509Certificate;

namespace {

std::int64_t Now() {
    return std::time(nullptr);
}

NodeStatus::Certificate Told(const char* kind, const X509Certificate& certificate) {
    return {kind, certificate.GetSubjectCN(), LumSecPki::EndSeconds(certificate)};
}

/// Those of a file that are trusted; none when it cannot be read, which the reload of keys and `lumtrust list` tell.
void AddTrusted(const String_t& path, std::vector<NodeStatus::Certificate>& found) try {
    const LumPalIo::FileInputStream_t file{LumPalIo::File_t(path)};
    const auto bytes = LumPalIo::ReadWhole(file, LumSecPki::kLargestPemFile);
    if (!bytes) return;
    for (const X509Certificate& certificate : LumSecPki::ReadCertificates(*bytes)) {
        found.push_back(Told("trusted", certificate));
    }
} catch (const LumPalMsg::Exception_t&) {
}

/// @param shown  by the port: the key store and the settings may be ahead of it
std::vector<NodeStatus::Certificate> CertificatesBeside(const std::vector<X509Certificate>& shown) {
    std::vector<NodeStatus::Certificate> found;
    for (const X509Certificate& own : shown) found.push_back(Told("own", own));
    for (const String_t& path : NodeIdentity::FindTrusted()) AddTrusted(path, found);
    return found;
}

/// The text, and behind it what led to it: the first detail of each level. All of them may be thousands of lines.
String_t WithCause(const LumPalMsg::Message_t& message) {
    String_t text = message.Format(LumPalMsg::Text);
    for (auto below = message.GetDetails(); below.GetMessageCount() > 0; below = below.GetMessage(0).GetDetails()) {
        text += " " + below.GetMessage(0).Format(LumPalMsg::Text);
    }
    return text;
}

std::vector<NodeStatus::Error> LastErrors() {
    std::vector<NodeStatus::Error> errors;
    for (const LumPalLog::LoggedError& error : LumPalLog::GetLastErrors()) {
        errors.push_back({error.time, WithCause(error.message)});
    }
    return errors;
}

std::vector<Sample> One(double value) {
    return {{{}, value}};
}

}  // namespace

NodeCondition::NodeCondition()
    : health(NodeHealth::GetInstance()),
      started(Now()),
      info("lumconf_build_info", "The version that runs.",
           [] {
               return std::vector<Sample>{{{{"version", LUM_VERSION}}, 1}};
           }),
      start("lumconf_start_time_seconds", "When the server was made, in seconds since 1970.",
            [this] { return One(static_cast<double>(started)); }),
      policies("lumconf_policies", "Installed policies by status; other: neither enabled nor disabled.",
               [this] { return AskPolicies(); }),
      missing("lumconf_policies_missing_files", "Policies of which data files were missing when the store was read.",
              [] { return One(PolicyOperation::GetInstance()->CountByStatus().missingFiles); }),
      broken("lumconf_settings_broken", "1 while the settings policies cannot be merged.",
             [this] { return One(health.WhySettingsAreBroken().IsEmpty() ? 0 : 1); }),
      queued("lumconf_notifications_queued", "Changes that wait for the next notification.",
             [this] { return One(static_cast<double>(health.GetQueued())); }),
      consumers("lumconf_consumers", "Programs that listen to the control service.", [this] { return AskConsumers(); }),
      certificates("lumconf_certificate_seconds_left", "Seconds until a certificate ends; below 0 when it has ended.",
                   [this] { return AskCertificates(); }) {}

NodeCondition::~NodeCondition() = default;

void NodeCondition::SetMessenger(const LumVoxMsg::Messenger& value) {
    LumVoxMsg::Messenger former = value;  // whose end waits for calls that may wait for this lock
    const LumPalThread::PlainLock_t lock(mutex);
    std::swap(messenger, former);
}

std::vector<X509Certificate> NodeCondition::GetShown() const {
    const LumPalThread::PlainLock_t lock(mutex);
    return messenger.GetCertificates();
}

void NodeCondition::SetMore(std::function<void(NodeStatus&)> add) {
    const LumPalThread::PlainLock_t lock(mutex);
    more = std::move(add);
}

NodeStatus NodeCondition::Read() const {
    const std::vector<X509Certificate> shown = GetShown();
    const PolicyContainerImpl::Counts counts = PolicyOperation::GetInstance()->CountByStatus();
    NodeStatus status;
    status.version = LUM_VERSION;
    status.coreId = ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey);
    status.started = started;
    status.tls = !shown.empty();
    status.policies = counts.all;
    status.enabled = counts.enabled;
    status.disabled = counts.disabled;
    status.missingFiles = counts.missingFiles;
    status.settingsBroken = health.WhySettingsAreBroken();
    status.queued = static_cast<std::uint32_t>(health.GetQueued());
    status.consumers = LumCtrl::Service::CountComponents();
    status.certificates = CertificatesBeside(shown);
    status.errors = LastErrors();
    const LumPalThread::PlainLock_t lock(mutex);
    status.port = messenger.GetPort();
    if (more) more(status);
    return status;
}

std::vector<Sample> NodeCondition::AskPolicies() const {
    const PolicyContainerImpl::Counts counts = PolicyOperation::GetInstance()->CountByStatus();
    return {{{{"status", "enabled"}}, static_cast<double>(counts.enabled)},
            {{{"status", "disabled"}}, static_cast<double>(counts.disabled)},
            {{{"status", "other"}}, static_cast<double>(counts.all) - counts.enabled - counts.disabled}};
}

std::vector<Sample> NodeCondition::AskConsumers() const {
    NodeStatus status;
    status.consumers = LumCtrl::Service::CountComponents();
    const LumPalThread::PlainLock_t lock(mutex);
    if (more) more(status);
    return One(status.consumers);
}

/// Of several with one name the one that ends first: two values with equal labels cannot be told apart.
std::vector<Sample> NodeCondition::AskCertificates() const {
    std::map<std::pair<std::string, std::string>, std::int64_t> ends;
    for (const NodeStatus::Certificate& certificate : CertificatesBeside(GetShown())) {
        const auto [place, isNew] =
            ends.try_emplace({certificate.kind.ToUtf8(), certificate.name.ToUtf8()}, certificate.end);
        place->second = std::min(place->second, certificate.end);
    }
    std::vector<Sample> samples;
    for (const auto& [key, end] : ends) {
        samples.push_back({{{"kind", key.first}, {"name", key.second}}, static_cast<double>(end - Now())});
    }
    return samples;
}

}  // namespace LumConf
