// The calling side of LumVoxRpc.h.
#include <algorithm>

#include <map>

#include "CallFailure.h"
#include "HttpClient.h"
#include "LocalSecret.h"
#include "LumPalKeys.h"
#include "LumVoxRpc.h"
#include "MessengerImpl.h"

namespace LumVoxRpc {
namespace {

using LumPalConfig::ConfigNamespace_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;

/// Kept connections belong to the messenger; calls without one share those of the process.
std::shared_ptr<HttpClient> ClientOf(const LumVoxMsg::Messenger& messenger) {
    const auto make = [] { return std::make_shared<HttpClient>(); };
    if (LumVoxMsg::Messenger::Impl* const impl = messenger.GetImpl())
        return std::static_pointer_cast<HttpClient>(impl->ClientState(make));
    static const auto& shared = *new std::shared_ptr<HttpClient>(make());  // never destroyed: calls may outlive statics
    return shared;
}

bool IsUnsafe(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code <= 0x20 || code == 0x7F || std::string_view("\"<>\\^`{|}?#@").find(byte) != std::string_view::npos;
}

std::string Checked(const String_t& part, const LumPalNet::URI_t& uri) {
    std::string text = part.ToUtf8();
    if (std::none_of(text.begin(), text.end(), IsUnsafe)) return text;
    throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("The address '%1' cannot be called.")
                                            << uri.ToString());
}

bool IsTls(const LumPalNet::URI_t& uri) {
    const String_t scheme = uri.GetScheme().ToLower();
    if (scheme == "https") return true;
    if (scheme == "http") return false;
    throw LumPalMsg::IllegalArgumentError_t(
        LumPalMsg::CreateError_t("The address '%1' has neither the scheme http nor https.") << uri.ToString());
}

HttpTarget TargetOf(const LumPalNet::URI_t& uri, const String_t& targetId, unsigned standardPort) {
    HttpTarget target;
    target.tls = IsTls(uri);
    target.host = Checked(uri.GetHost(), uri);
    target.port = uri.GetPort() != 0 ? uri.GetPort() : standardPort;
    target.path = Checked(uri.GetPath(), uri);
    target.targetId = targetId.ToUtf8();
    return target;
}

/// The plain road leads to the node itself: its id is known without asking.
void CheckOwnId(const HttpTarget& target, const String_t& targetId) {
    const String_t own = ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey);
    if (targetId.IsEmpty() || own.IsEmpty() || own == targetId) return;
    throw LumPalNet::ConnectException_t(
        LumPalMsg::CreateError_t("Cannot connect to host '%1' port %2: the node there is not '%3' but '%4'.")
        << String_t::FromUtf8(target.host) << target.port << targetId << own);
}

/// The secret is proven to the literal address alone: a name may lead to another user's port.
void TakeLocalRoad(HttpTarget& target) {
    if (target.host == "localhost") target.host = LumVoxMsg::kLoopbackAddress;
    if (target.host == LumVoxMsg::kLoopbackAddress) target.secret = LumVoxMsg::LocalSecretDigits();
}

/// A node that serves here has left its secret: without it whoever holds the port is somebody else. A user to whom the
/// folder is closed cannot know, and is a stranger to the node.
void RequireServingNode(const HttpTarget& target) {
    const LumPalIo::File_t file = LumVoxMsg::LocalSecretFile();
    if (target.host != LumVoxMsg::kLoopbackAddress || !target.secret.empty()) return;
    if (file.Exists() || !file.GetParentFile().IsDirectory()) return;
    throw LumPalNet::ConnectException_t(
        LumPalMsg::CreateError_t("Cannot connect to host '%1' port %2: this node does not serve, as '%3' is not "
                                 "there; nothing was sent.")
            .AddDetails(LumPalMsg::CreateInfo_t(String_t::FromUtf8(StartAdvice())))
        << String_t::FromUtf8(target.host) << target.port << file.GetAbsolutePath());
}

void RequireUtf8(const char* encoding) {
    if (LumPalStr::Compare(String_t(encoding), String_t("UTF-8"), true) == 0) return;
    throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("Messages travel in UTF-8, not in '%1'.")
                                            << encoding);
}

/// An answer that is no success may still be a fault, which says more than the status.
void RaiseFault(const HttpAnswer& answer) try {
    LumVoxSoap::SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t::Over(answer.body), 0, nullptr);
} catch (const LumVoxSoap::SOAPFaultException&) {
    throw;
} catch (const LumPalMsg::Exception_t&) {
    // some page of text: the status must do
}

constexpr int kTooLarge = 413;

[[noreturn]] void Refuse(const HttpTarget& target, const HttpAnswer& answer, std::size_t sentBytes) {
    const Explanation why = ExplainStatus(answer.status, sentBytes);
    LumPalMsg::CreateError_t message("Host '%1' port %2 answered with HTTP status %3: %4.");
    message << String_t::FromUtf8(target.host) << target.port << answer.status << String_t::FromUtf8(why.cause);
    try {
        RaiseFault(answer);
    } catch (const LumVoxSoap::SOAPFaultException& e) {
        if (answer.status != kTooLarge) throw;
        message.AddDetails(e.GetMessageList());
    }
    if (!why.advice.empty()) message.AddDetails(LumPalMsg::CreateInfo_t(String_t::FromUtf8(why.advice)));
    throw LumVoxSoap::SOAPFormatException(message);
}

}  // namespace

struct CallBudget::Impl {
    using Clock = std::chrono::steady_clock;
    std::chrono::seconds whole;
    Clock::time_point end;
    Impl* outer;
    std::map<std::string, LumPalNet::ConnectException_t> unreached{};  ///< by host and port
};

namespace {

thread_local CallBudget::Impl* innermost = nullptr;

std::string PlaceOf(const HttpTarget& target) {
    return target.host + " " + std::to_string(target.port);
}

/// The limits of a call that is made now. @throws LumPalNet::ConnectException_t when no time is left
ClientLimits LimitsNow(ClientLimits limits, const HttpTarget& target) {
    using std::chrono::milliseconds;
    if (innermost->end == CallBudget::Impl::Clock::time_point::max()) return limits;
    const auto left = std::chrono::duration_cast<milliseconds>(innermost->end - CallBudget::Impl::Clock::now());
    if (left <= milliseconds(0)) {
        throw LumPalNet::ConnectException_t(
            LumPalMsg::CreateError_t("Cannot connect to host '%1' port %2: no answer within %3 seconds.")
                .AddDetails(LumPalMsg::CreateInfo_t(kNoAnswerAdvice))
            << String_t::FromUtf8(target.host) << target.port << static_cast<unsigned>(innermost->whole.count()));
    }
    if (limits.callTime.count() > 0 && limits.callTime <= left) return limits;
    limits.callTime = left;
    limits.callSeconds = static_cast<unsigned>(innermost->whole.count());
    return limits;
}

HttpAnswer PostWithinBudget(HttpClient& client, const HttpTarget& target, const LumPalArray::CharArray_t& body,
                            const ClientLimits& limits) {
    if (!innermost) return client.Post(target, body, limits);
    const auto failed = innermost->unreached.find(PlaceOf(target));
    if (failed != innermost->unreached.end()) throw LumPalNet::ConnectException_t(failed->second);
    try {
        return client.Post(target, body, LimitsNow(limits, target));
    } catch (const LumPalNet::ConnectException_t& e) {
        innermost->unreached.emplace(PlaceOf(target), e);
        throw;
    }
}

}  // namespace

CallBudget::CallBudget(std::optional<std::chrono::seconds> time)
    : impl(
          std::make_unique<Impl>(Impl{time.value_or(std::chrono::seconds(0)),
                                      time ? Impl::Clock::now() + *time : Impl::Clock::time_point::max(), innermost})) {
    if (innermost && innermost->end < impl->end) {
        impl->whole = innermost->whole;
        impl->end = innermost->end;
    }
    innermost = impl.get();
}

CallBudget::~CallBudget() {
    innermost = impl->outer;
}

struct RpcCall::Impl {
    std::shared_ptr<HttpClient> client;
    ClientLimits limits;
    HttpTarget target;
    String_t targetId;
    bool anonymous = false;
};

RpcCall::RpcCall(std::shared_ptr<Impl> impl) : impl(std::move(impl)) {}

RpcResponse RpcCall::Invoke(int count, SOAPArg* const* results, const char* encoding) {
    RequireUtf8(encoding);
    LumPalIo::CharArrayOutputStream_t request;
    Write(request);
    HttpTarget target = impl->target;
    if (!target.tls) {
        CheckOwnId(target, impl->targetId);
        TakeLocalRoad(target);
        if (impl->anonymous) {
            target.secret.clear();
        } else {
            RequireServingNode(target);
        }
    }
    LumPalArray::CharArray_t body = request.TakeCharArray();
    const std::size_t sentBytes = body.GetLength();
    const HttpAnswer answer = PostWithinBudget(*impl->client, target, body, impl->limits);
    body = LumPalArray::CharArray_t();  // no longer needed beside the answer
    if (answer.status != 200) Refuse(target, answer, sentBytes);
    SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t::Over(answer.body), count, results);
    return RpcResponse(answer.status);
}

struct RpcClient::Impl {
    LumVoxMsg::Messenger messenger;
    std::shared_ptr<HttpClient> client;
    ClientLimits limits;
};

RpcClient::RpcClient(const LumPalConfig::Configuration_t& configuration, const LumVoxMsg::Messenger& messenger)
    : impl(std::make_shared<Impl>(Impl{messenger, ClientOf(messenger), ClientLimits::Load(configuration)})) {}

RpcCall RpcClient::CreateCall(const LumPalNet::URI_t& uri, const RpcCall::Options& options) {
    auto call = std::make_shared<RpcCall::Impl>();
    call->client = impl->client;
    call->limits = impl->limits;
    call->target = TargetOf(uri, options.targetId, impl->limits.targetPort);
    call->targetId = options.targetId;
    call->anonymous = options.anonymous;
    return RpcCall(std::move(call));
}

String_t LocalSecretPath() {
    return LumVoxMsg::LocalSecretFile().GetAbsolutePath();
}

bool HasLocalSecret() {
    return !LumVoxMsg::LocalSecretDigits().empty();
}

}  // namespace LumVoxRpc
