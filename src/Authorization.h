/// @file
/// Whether a calling system may do an operation.
#pragma once

#include "LumSecAuth.h"
#include "LumVoxRpc.h"

namespace LumConf {

/// The process-wide authorizer of the domain "conf". Any thread; an Update beside IsAuthorized is safe.
class Authorization : public LumSecAuth::Authorizer {
public:
    /// The instance; created on the first call, never destroyed.
    static Authorization& GetInstance();
    /// @param right  bits of Right; what the authorizer throws passes through
    bool IsAuthorized(const LumPalStr::String_t& sender, const unsigned& right);
    /// Likewise for the sender of a call, who may have proved to be the node itself.
    bool IsAuthorized(const LumVoxRpc::RpcServerCall& call, const unsigned& right);
};

}  // namespace LumConf
