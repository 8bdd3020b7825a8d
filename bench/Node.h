/// @file
/// A node in this process that really serves, its client, and an echo on the same server.
#pragma once

#include <functional>
#include <string>

#include "ConfigServer.h"
#include "LumCtrl.h"
#include "LumPalArray.h"
#include "LumPalStr.h"
#include "LumVoxMsg.h"
#include "LumVoxRpc.h"
#include "PolicyForwarder.h"
#include "TempRoot.h"

namespace bench {

/// Sends an argument back as it came, of either kind.
class EchoHandler : public LumVoxRpc::RpcServerHandler {
public:
    using Bytes = LumPalArray::CharArray_t;

    void Process(LumVoxRpc::RpcServerCall& call) override;
    void CallStarted() override {}
    void CallFinished() override {}

    /// What the node does with the bytes before it answers; set between calls.
    std::function<void(const Bytes&)> work;
};

/// Likewise for a text.
class TextEchoHandler : public EchoHandler {
public:
    void Process(LumVoxRpc::RpcServerCall& call) override;
};

/// The one node of the process: it has a root of its own, audits everything, and its clients keep their connection.
/// Everything that is asked of it goes over a socket. One thread at a time, but for what the members say.
class Node {
public:
    using Bytes = LumPalArray::CharArray_t;
    using String_t = LumPalStr::String_t;

    static Node& Get();
    ~Node();

    std::string Folder(const std::string& name) const { return root.Native() + "/" + name; }
    unsigned GetPort() const { return server.GetPort(); }
    /// For the host "localhost".
    const LumConf::PolicyForwarder& Client() const { return client; }
    /// Puts so many small policies of ten types into the store, which has them in its cache then.
    void Fill(int policies) const;
    /// @param work  see EchoHandler
    void SetWork(std::function<void(const Bytes&)> work) { echo.work = std::move(work); }
    Bytes Echo(const Bytes& bytes) const;
    String_t Echo(const String_t& text) const;
    /// Calls a method of the node itself.
    void Call(const char* method, int count, LumVoxSoap::SOAPArg* const* arguments, int results,
              LumVoxSoap::SOAPArg* const* resultArguments) const;

private:
    /// Makes the configuration before anything reads it.
    struct Root : TempRoot {
        Root();
    };

    Node();
    void Invoke(const std::string& path, const char* method, int count, LumVoxSoap::SOAPArg* const* arguments,
                int results, LumVoxSoap::SOAPArg* const* resultArguments) const;

    Root root;
    LumCtrl::Service control;
    LumConf::ConfigServer server;
    LumVoxMsg::Messenger messenger;
    EchoHandler echo;
    TextEchoHandler textEcho;
    LumVoxRpc::RpcServer echoServer;
    LumConf::PolicyForwarder client;
};

}  // namespace bench
