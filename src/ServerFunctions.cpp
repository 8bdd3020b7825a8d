#include "ServerFunctions.h"

#include "Authorization.h"
#include "Messages.h"
#include "PlainName.h"
#include "PolicyOperation.h"
#include "RpcAnswer.h"
#include "StringList.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

/// A stranger may name millions of types: each is looked at where it stands.
bool IsAnyInstalled(std::u16string_view typeNames) {
    for (WordReader words(typeNames); words.Next();) {
        // No type has a longer name: it names a folder.
        if (words.Get().size() > kMaxNameBytes) continue;
        const String_t typeName(words.Get().data(), static_cast<std::uint32_t>(words.Get().size()));
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
