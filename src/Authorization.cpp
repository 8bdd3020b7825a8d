#include "Authorization.h"

#include "Names.h"

namespace LumConf {

Authorization& Authorization::GetInstance() {
    static Authorization& instance = *new Authorization;  // never destroyed: calls may outlive statics
    return instance;
}

bool Authorization::IsAuthorized(const LumPalStr::String_t& sender, const unsigned& right) {
    return IsAllowed(sender, names::NsConf, right, 0);
}

bool Authorization::IsAuthorized(const LumVoxRpc::RpcServerCall& call, const unsigned& right) {
    return IsAuthorized(LumPalStr::String_t::FromUtf8(call.GetRightsID()), right);
}

}  // namespace LumConf
