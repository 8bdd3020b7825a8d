#include "ServerFunctions.h"

#include "Authorization.h"
#include "Messages.h"
#include "PolicyOperation.h"
#include "RpcAnswer.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

bool IsAnyInstalled(const String_t& typeNames) {
    for (const String_t& typeName : GetVectorFromString(typeNames)) {
        if (PolicyOperation::GetInstance()->IsPolicyTypeNameInstalled(typeName)) return true;
    }
    return false;
}

}  // namespace

int ManagerConfigurationChanged(const char*, bool, int count, const char16_t* const* parameters) {
    for (int i = 0; i < count; ++i) LUMCONF_TRACE(trace::Message, String_t("mgrconf: ") + parameters[i]);
    Authorization::GetInstance().Update();
    return 0;
}

int CheckPolicy(const char* sender, bool, int count, const char16_t* const* parameters) {
    try {
        if (count == 0) return PolicyOperation::GetInstance()->IsPolicyInstalled() ? 1 : 0;
        return IsAnyInstalled(parameters[0]) ? 0 : 1;
    } catch (const LumPalMsg::RuntimeException_t& e) {
        const auto message = Make(msg::CheckPolicyErrors, e);
        LUMCONF_TRACE(trace::Message, message.Format(LumPalMsg::Text | LumPalMsg::Details));
        LogFailureOf(String_t::FromUtf8(sender), message);
        return -1;
    }
}

}  // namespace LumConf
