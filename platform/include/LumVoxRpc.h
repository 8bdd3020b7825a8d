/// @file
/// Remote procedure calls: SOAP over the messenger.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalExport.h"
#include "LumPalNet.h"
#include "LumPalStr.h"
#include "LumVoxCore.h"
#include "LumVoxMsg.h"
#include "LumVoxSoap.h"

namespace LumVoxRpc {

/// The file whose content proves on the plain road that the caller is the node's own user, or root.
LUMPAL_API LumPalStr::String_t LocalSecretPath();
/// Whether this process can read a secret there.
LUMPAL_API bool HasLocalSecret();

/// The answer to a call on the client's side.
class LUMPAL_API RpcResponse {
public:
    explicit RpcResponse(int httpStatus = 0) : httpStatus(httpStatus) {}
    int GetHttpStatus() const noexcept { return httpStatus; }

private:
    int httpStatus;
};

/// What one piece of work with a node may cost, as long as it lives, in all calls that its thread makes: a time for all
/// of them together, where one is given (a call that is out then is given up, and further ones are not sent), and one
/// failure to reach a host (further calls to it fail likewise, at once). It can only shorten what the keys allow, and
/// one within another what that one allows. Made and destroyed by one thread, the last one first.
class LUMPAL_API CallBudget {
public:
    explicit CallBudget(std::optional<std::chrono::seconds> time = std::nullopt);
    ~CallBudget();
    CallBudget(const CallBudget&) = delete;
    CallBudget& operator=(const CallBudget&) = delete;

    struct Impl;

private:
    std::unique_ptr<Impl> impl;
};

/// One call to one address. Used by one thread.
class LUMPAL_API RpcCall : public LumVoxSoap::SOAPEnvelope {
public:
    class LUMPAL_API Options {
    public:
        /// An optional id of the target; an empty id leaves the address to the URI alone. With an id the call
        /// reaches only the node that bears it: over TLS by its certificate's common name, on the plain road
        /// this node's CORE_ID (an unset one matches everything).
        Options& SetTargetID(const LumPalStr::String_t& id) {
            targetId = id;
            return *this;
        }
        /// The call proves nothing on the plain road, and asks for no proof: for questions that need no right and tell
        /// nothing, to whoever answers there.
        Options& SetAnonymous() {
            anonymous = true;
            return *this;
        }
        LumPalStr::String_t targetId;
        bool anonymous = false;
    };
    struct Impl;
    explicit RpcCall(std::shared_ptr<Impl> impl);
    /// Sends the request, blocks until the response, stores the results into the arguments by name. Is given up
    /// within about a second when the process ends (LumPalRuntime::SetStopping).
    /// @throws LumPalNet::ConnectException_t (cannot be reached, refused certificate, time over, given up),
    ///         LumVoxSoap::SOAPFaultException, LumVoxSoap::SOAPFormatException
    RpcResponse Invoke(int count, LumVoxSoap::SOAPArg* const* results, const char* encoding);

private:
    std::shared_ptr<Impl> impl;
};

/// Makes calls; connections are kept and shared between clients of one messenger. Any thread.
class LUMPAL_API RpcClient {
public:
    RpcClient(const LumPalConfig::Configuration_t& configuration, const LumVoxMsg::Messenger& messenger);
    RpcCall CreateCall(const LumPalNet::URI_t& uri, const RpcCall::Options& options);

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

/// The response to a call on the server's side.
class LUMPAL_API RpcServerResponse : public LumVoxSoap::SOAPEnvelope {
public:
    struct Impl;
    explicit RpcServerResponse(std::shared_ptr<Impl> impl);
    /// Sends the response; texts are cleaned of what XML cannot carry before. Once per call.
    void SendResponse(const char* encoding);

private:
    std::shared_ptr<Impl> impl;
};

/// A request being served.
class LUMPAL_API RpcServerCall {
public:
    struct Impl;
    explicit RpcServerCall(std::shared_ptr<Impl> impl);
    /// The sender's id; empty for a caller that proved nothing. Valid as long as the call.
    const char* GetOriginatorID() const;
    /// Whose rights the call has: those of the node's own administrator for a sender that has proved the node's key,
    /// else the sender's. Names alone make nobody the node. Valid as long as the call.
    const char* GetRightsID() const;
    bool Authenticated() const;
    /// Fills the arguments from the request. Any of the count arguments that did not arrive, and is not optional,
    /// is a malformed request.
    /// @throws LumVoxSoap::SOAPFormatException, LumPalXml::SAX::SAXParseException_t
    void ReadRequest(int count, LumVoxSoap::SOAPArg* const* arguments);
    /// Holds the request against the arguments as ReadRequest does, and leaves it to be read: for a caller who is not
    /// known to be allowed what it asks for, with arguments that keep no more than is needed to find that out.
    /// @throws as ReadRequest, for the same requests
    void CheckRequest(int count, LumVoxSoap::SOAPArg* const* arguments) const;
    RpcServerResponse CreateResponse();
    /// Says by which value the call is counted; one that nobody says it of is counted as a fault.
    void CountAs(int value);

private:
    std::shared_ptr<Impl> impl;
};

/// Serves a method. CallStarted and CallFinished surround each Process, on the same thread;
/// calls run on several threads at once.
class LUMPAL_API RpcServerHandler {
public:
    virtual ~RpcServerHandler();
    virtual void Process(RpcServerCall& call) = 0;
    virtual void CallStarted() = 0;
    virtual void CallFinished() = 0;
};

/// A plain function served as a method: sender, authenticated, count, string parameters.
/// On the wire its parameters are strings in order, whatever their names; its result is the int "result".
using Function = int (*)(const char* sender, bool authenticated, int count, const char16_t* const* parameters);

/// What a server tells of its methods to clients of any make, as WSDL 1.1: rpc style, literal use.
struct Description {
    enum Times { Once, AtMostOnce, AnyNumber };
    /// An element: an argument, a result, or a child within a type.
    struct Field {
        std::string name;
        std::string type;    ///< "xsd:" and a type of XML Schema, or "m:" and one of this description's types
        Times times = Once;  ///< of a child; arguments and results come once
    };
    /// Elements with children in this order; repeated: the row of them may come any number of times.
    struct Type {
        std::string name;
        std::vector<Field> children;
        bool repeated = false;
    };
    struct Method {
        std::string name;
        std::vector<Field> arguments, results;
    };
    std::string name;
    std::vector<Type> types;
    std::vector<Method> methods;
};

/// A set of methods below one base path. A handle; null when default-constructed.
class LUMPAL_API RpcServer : public LumVoxCore::Object {
public:
    class LUMPAL_API Options {
    public:
        /// false: calls may run at the same time. true: one after another.
        Options& SetThreadSafe(bool value) {
            threadSafe = value;
            return *this;
        }
        /// true: a caller without an id is answered with a fault and reaches no handler.
        Options& SetRequireAuthentication(bool value) {
            requireAuthentication = value;
            return *this;
        }
        Options& SetBasePath(const char* path) {
            basePath = path;
            return *this;
        }
        bool threadSafe = false;
        bool requireAuthentication = false;
        LumPalStr::String_t basePath;
    };
    RpcServer() = default;
    RpcServer(const LumPalConfig::Configuration_t& configuration, const Options& options);
    /// The handler is not owned.
    void Register(const char* name, RpcServerHandler& handler);
    void Register(const char* name, Function function);
    /// Makes the server answer a GET of its path with the query "wsdl"; without it such a request gets 404.
    void Describe(const Description& description);
    /// The form in which a server is given to a messenger; lives as long as the server.
    operator LumVoxMsg::MsgHandler*() const;
};

}  // namespace LumVoxRpc
