// RpcServer of LumVoxRpc.h.
#include <chrono>
#include <map>
#include <variant>

#include "Fault.h"
#include "FreedMemory.h"
#include "FunctionCall.h"
#include "LumPalLog.h"
#include "LumPalMetrics.h"
#include "LumPalPlainMutex.h"
#include "LumVoxRpc.h"
#include "MsgHandlerAccess.h"
#include "RpcServerCallImpl.h"
#include "SoapPeek.h"
#include "SoapReader.h"
#include "Wsdl.h"

namespace LumVoxRpc {

using Access = LumVoxMsg::MsgHandler::Access;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

RpcServerHandler::~RpcServerHandler() = default;

namespace {

using Method = std::variant<RpcServerHandler*, Function>;

/// CallStarted and CallFinished around a call, also when it ends by an exception.
class CallScope {
public:
    explicit CallScope(RpcServerHandler& handler) : handler(handler) { handler.CallStarted(); }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    ~CallScope() {
        try {
            handler.CallFinished();
        } catch (const std::exception& e) {
            LumPalLog::LogGuarded(
                [&] { return CreateError_t("The end of a call failed: %1") << String_t::FromUtf8(e.what()); });
        }
    }

private:
    RpcServerHandler& handler;
};

void CallMethod(RpcServerHandler* handler, const std::shared_ptr<RpcServerCall::Impl>& state) {
    const CallScope scope(*handler);
    RpcServerCall call(state);
    handler->Process(call);
}

void CallMethod(Function function, const std::shared_ptr<RpcServerCall::Impl>& state) {
    CallFunction(function, *state);
}

const std::string kMethodLabel = "method";

/// Times a call, and counts it at its end.
class CountedCall {
public:
    explicit CountedCall(const RpcServerCall::Impl& state) : state(state) {}
    CountedCall(const CountedCall&) = delete;
    CountedCall& operator=(const CountedCall&) = delete;
    ~CountedCall() {
        LumPalMetrics::Guarded([&] {
            const std::string method = state.method.ToUtf8();
            const std::chrono::duration<double> took = Clock::now() - start;
            Durations().Observe(took.count(), {{kMethodLabel, method}});
            Requests().Add({{kMethodLabel, method}, {"value", state.value ? std::to_string(*state.value) : "fault"}});
        });
    }

private:
    using Clock = std::chrono::steady_clock;
    static LumPalMetrics::Counter_t& Requests() {
        static LumPalMetrics::Counter_t counter(
            "lumconf_requests_total", "Calls by method and return value (docs/wire.md); fault: none was made.");
        return counter;
    }
    static LumPalMetrics::Durations_t& Durations() {
        static LumPalMetrics::Durations_t durations("lumconf_request_duration_seconds",
                                                    "Time that calls took, from the whole request to the answer.");
        return durations;
    }

    const RpcServerCall::Impl& state;
    const Clock::time_point start = Clock::now();
};

/// At its end nothing is left of what was made of a request but its answer.
class FreedScope {
public:
    explicit FreedScope(const LumVoxMsg::Blocks& body) : bytes(body.GetSize()) {}
    FreedScope(const FreedScope&) = delete;
    FreedScope& operator=(const FreedScope&) = delete;
    ~FreedScope() { NoteFreed(bytes); }

private:
    const std::size_t bytes;
};

/// What a method made of a call: its response, or the fault that stands for what it threw.
Access::Response Call(const Method& method, const std::shared_ptr<RpcServerCall::Impl>& state) {
    String_t reason = "no response was sent";
    try {
        std::visit([&](auto callee) { CallMethod(callee, state); }, method);
    } catch (const LumVoxSoap::SOAPFormatException& e) {
        if (!state->sent) LumVoxMsg::SetFault(state->response, "Client", e.GetMessageList());
        return std::move(state->response);
    } catch (const LumPalXml::SAX::SAXParseException_t& e) {
        if (!state->sent) LumVoxMsg::SetFault(state->response, "Client", e.GetMessageList());
        return std::move(state->response);
    } catch (const std::exception& e) {
        reason = String_t::FromUtf8(e.what());
        if (state->sent) LumPalLog::Log(CreateError_t("The method '%1' failed: %2") << state->method << reason);
    }
    if (state->sent) return std::move(state->response);
    LumPalLog::Log(CreateError_t("The method '%1' failed: %2") << state->method << reason);
    LumVoxMsg::SetFault(state->response, "Server", "The method failed; the node's log says why.");
    return std::move(state->response);
}

}  // namespace

/// Any thread.
class RpcServerImpl : public LumPalRef::RefCounted_t, public LumVoxMsg::MsgHandler {
public:
    explicit RpcServerImpl(const RpcServer::Options& options) : options(options) { KeepFreedMemorySmall(); }

    void Register(const char* name, Method method) {
        const LumPalThread::PlainLock_t lock(mutex);
        methods[name] = method;
    }

    void SetDescription(const Description& newDescription) {
        const LumPalThread::PlainLock_t lock(mutex);
        description = std::make_shared<const Description>(newDescription);
    }

private:
    String_t BasePath() const override { return options.basePath; }

    void Handle(const Request& request, Response& response) override {
        const FreedScope freed(*request.body);
        HandleNoted(request, response);
    }

    void HandleNoted(const Request& request, Response& response) try {
        const String_t name = LumVoxSoap::PeekMethod(ReadBlocks(request.body, LumVoxMsg::AfterRead::Keep));
        const Method method = Find(name);
        if (options.requireAuthentication && request.sender.empty())
            return LumVoxMsg::SetFault(response, "Client", "The sender is not authenticated.");
        response = Run(method, name, request);
    } catch (const LumVoxSoap::SoapRefusal& e) {
        LumVoxMsg::SetFault(response, e.GetFaultCode(), e.GetMessageList());
    } catch (const LumPalXml::SAX::SAXParseException_t& e) {
        LumVoxMsg::SetFault(response, "Client", e.GetMessageList());
    }

    bool Describe(const String_t& address, Response& response) const override {
        const std::shared_ptr<const Description> told = GetDescription();
        if (!told) return false;
        response.contentType = LumVoxMsg::kSoapContentType;
        response.body = std::make_shared<LumVoxMsg::Blocks>();
        WriteWsdl(LumVoxMsg::WriteBlocks(response.body), *told, address);
        return true;
    }

    std::shared_ptr<const Description> GetDescription() const {
        const LumPalThread::PlainLock_t lock(mutex);
        return description;
    }

    Method Find(const String_t& name) {
        const LumPalThread::PlainLock_t lock(mutex);
        const auto found = methods.find(name);
        if (found == methods.end())
            throw LumVoxSoap::SoapRefusal("Client", CreateError_t("There is no method '%1' here.") << name);
        return found->second;
    }

    Response Run(const Method& method, const String_t& name, const Request& request) {
        auto state = std::make_shared<RpcServerCall::Impl>();
        state->sender = request.sender;
        state->isNode = request.isNode;
        state->method = name;
        state->body = request.body;
        const CountedCall counted(*state);
        if (!options.threadSafe) return Call(method, state);
        const LumPalThread::PlainLock_t lock(oneCall);
        return Call(method, state);
    }

    const RpcServer::Options options;
    LumPalThread::PlainMutex_t oneCall;  // unmarked: it guards no member, but calls that run one after another
    mutable LumPalThread::PlainMutex_t mutex;
    std::map<String_t, Method> methods LUMPAL_GUARDED_BY(mutex);
    std::shared_ptr<const Description> description LUMPAL_GUARDED_BY(mutex);
};

namespace {

RpcServerImpl& ImplOf(const LumPalPtr::RefPtr_t<LumPalRef::RefCounted_t>& implementation) {
    if (!implementation) throw LumPalMsg::IllegalStateError_t(CreateError_t("A null server has no methods."));
    return static_cast<RpcServerImpl&>(*implementation);
}

}  // namespace

RpcServer::RpcServer(const LumPalConfig::Configuration_t&, const Options& options)
    : Object(new RpcServerImpl(options)) {
    if (!LumPalIo::FaultAt("serve", options.basePath.ToUtf8().c_str())) return;
    throw LumPalIo::IOException_t(CreateError_t("A server for '%1' could not be made.") << options.basePath);
}

void RpcServer::Register(const char* name, RpcServerHandler& handler) {
    ImplOf(implementation).Register(name, &handler);
}

void RpcServer::Register(const char* name, Function function) {
    ImplOf(implementation).Register(name, function);
}

void RpcServer::Describe(const Description& description) {
    ImplOf(implementation).SetDescription(description);
}

RpcServer::operator LumVoxMsg::MsgHandler*() const {
    return implementation ? &ImplOf(implementation) : nullptr;
}

}  // namespace LumVoxRpc
