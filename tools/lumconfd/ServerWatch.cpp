#include "lumconfd/ServerWatch.h"

#include "LumDepl.h"
#include "LumPalLog.h"
#include "common/KeyValues.h"

namespace lumconfd {

using LumPalMsg::CreateInfo_t;
using LumPalMsg::CreateWarn_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

namespace {

constexpr unsigned kPatienceSeconds = 5;
constexpr std::chrono::seconds kPauseAfterFailure(1);

/// Whether the host answers as a node does; if not, why.
bool Answers(const std::string& host, MessageList_t& reasons) {
    if (!lumtools::IsServerName(host)) {
        reasons.Add(LumPalMsg::CreateError_t("'%1' is not the name of a host.") << String_t::FromUtf8(host));
        return false;
    }
    try {
        const auto options = LumDepl::NodeOptions().SetObjectType("package").SetPatience(kPatienceSeconds);
        LumDepl::Node(String_t::FromUtf8(host)).GetInventory(options);
        return true;
    } catch (const LumPalMsg::Exception_t& e) {
        reasons.Add(e.GetMessageList());
        return false;
    }
}

void SayAnswers(const char* text, const std::string& host) {
    LumPalLog::Log(MessageList_t(CreateInfo_t(String_t(text)) << String_t::FromUtf8(host)));
}

void SaySilent(const char* text, const std::string& host, const MessageList_t& reasons) {
    CreateWarn_t message{String_t(text)};
    if (!host.empty()) message << String_t::FromUtf8(host);
    message.AddDetails(reasons);
    LumPalLog::Log(MessageList_t(message));
}

}  // namespace

ServerWatch::ServerWatch()
    : thread("ServerWatch", {"The servers of this node cannot be asked now: %1", kPauseAfterFailure},
             [this](LumPalThread::Bell_t&) { return AskAll(); }),
      keys([this] { thread.Ring(); }) {
    thread.Start();
}

ServerWatch::~ServerWatch() {
    thread.Finish();
}

/// @return how long to wait until the next time; without limit when there is nobody to ask
std::chrono::milliseconds ServerWatch::AskAll() {
    const DaemonKeys now = keys.Get();
    // Servers that mean something else than before are told anew.
    if (now.servers != asked.servers || now.locateServer != asked.locateServer) answered.clear();
    asked = now;
    Round(now);
    if (now.servers.empty()) return LumPalThread::StepThread_t::kUntilRing;
    return now.waitTime;
}

void ServerWatch::Round(const DaemonKeys& now) {
    if (now.locateServer && !now.servers.empty()) return Locate(now.servers);
    for (const std::string& host : now.servers) {
        if (thread.IsStopped()) return;
        Ping(host);
    }
}

void ServerWatch::Ping(const std::string& host) {
    MessageList_t reasons;
    const bool answers = Answers(host, reasons);
    if (thread.IsStopped()) return;  // a question that was given up says nothing of the server
    const auto [known, isNew] = answered.emplace(host, answers);
    if (!isNew && known->second == answers) return;
    known->second = answers;
    if (!answers) return SaySilent("The server '%1' does not answer.", host, reasons);
    SayAnswers(isNew ? "The server '%1' answers." : "The server '%1' answers again.", host);
}

void ServerWatch::Locate(const std::vector<std::string>& hosts) {
    MessageList_t reasons;
    std::string located;
    for (const std::string& host : hosts) {
        if (thread.IsStopped()) return;
        if (!Answers(host, reasons)) continue;
        located = host;
        break;
    }
    if (thread.IsStopped() || answered.count(located) > 0) return;
    answered = {{located, true}};
    if (located.empty()) return SaySilent("No server of this node answers.", located, reasons);
    SayAnswers("The server of this node is '%1'.", located);
}

}  // namespace lumconfd
