/// @file
/// What the handlers that ask for a right have in common.
#pragma once

#include <initializer_list>
#include <span>

#include "CallsInFlight.h"
#include "LumVoxRpc.h"
#include "RpcAnswer.h"
#include "Trace.h"

namespace LumConf {

class AuditLog;
class Authorization;
class PolicyOperation;

/// Handler of a method that needs a right. Whatever happens to a request, it is answered: see RunCall. Any thread.
class RpcShell : public CallsInFlight {
protected:
    /// An exception that has a return value of its own.
    struct OwnValue {
        bool (*is)(const LumPalMsg::Exception_t& e);
        ReturnValue value;
    };
    template <class E>
    static bool Is(const LumPalMsg::Exception_t& e) {
        return dynamic_cast<const E*>(&e) != nullptr;
    }
    /// What one method says and answers.
    struct Words {
        const MessageOf<1>& start;
        const MessageOf<1>& notAuthorized;
        std::span<const OwnValue> ownValues;  ///< the first that fits counts
    };
    /// What is known of every call so far.
    struct Call {
        LumPalStr::String_t sender;
        bool authorized = false;
    };

    /// @param operation  of a method that concerns policies: made before the others, as their first use needs it
    explicit RpcShell(PolicyOperation* operation = nullptr);

    /// Serves one call.
    /// @param serve  does what is asked: reads the request, says in `request` that the sender may ask for it, sets the
    ///               answer
    /// @param fail   answers an exception without a value of its own
    /// @return what serve and fail have set; for a sender who was not authorized, whatever he sent, that he is not
    template <class Serve, class Fail>
    RpcAnswer RunCall(const LumVoxRpc::RpcServerCall& call, const Words& words, Call& request, Serve serve, Fail fail) {
        RpcAnswer answer;
        request.sender = StartCall(call, words.start);
        try {
            serve(answer);
        } catch (const LumPalMsg::Exception_t& e) {
            if (!SetOwnValue(words, e, answer)) fail(e, answer);
        }
        // Behind the catch clause: also a request that could not be read, or that asks for nothing known, is answered
        // so.
        if (!request.authorized) SetNotAuthorized(words, request, answer);
        return answer;
    }

    /// What a request of a caller who may not be allowed to bring it is looked at for: whether it is well-formed.
    /// Nothing of it is kept: it may be large.
    /// @throws what CheckRequest throws for a malformed request, which leaves no audit line
    static void CheckOnly(const LumVoxRpc::RpcServerCall& call, std::initializer_list<LumVoxSoap::SOAPArg*> arguments);
    /// Writes a refusal to the audit log.
    void AuditRefusal(const trace::Component& traced, const LumPalStr::String_t& sender, const char* operation);

    /// The row of a table of operations that bears the number of a request; null for none.
    template <class Mode>
    static const Mode* FindMode(std::span<const Mode> modes, int number) {
        for (const Mode& row : modes) {
            if (static_cast<int>(row.mode) == number) return &row;
        }
        return nullptr;
    }

    PolicyOperation* const operation;  ///< may be null
    Authorization* const authorization;
    AuditLog* const auditLog;

private:
    static bool SetOwnValue(const Words& words, const LumPalMsg::Exception_t& e, RpcAnswer& answer);
    static void SetNotAuthorized(const Words& words, const Call& request, RpcAnswer& answer);
};

}  // namespace LumConf
