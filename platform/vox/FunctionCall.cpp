#include "FunctionCall.h"

#include <deque>
#include <vector>

#include "SoapReader.h"

namespace LumVoxRpc {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgUnicodeString;

namespace {

/// Takes every child of the method element as a string, in order, whatever its name.
class Parameters : public LumVoxSoap::ArgumentSource {
public:
    LumVoxSoap::SOAPElement* Argument(const String_t& name) override {
        if (arguments.size() == kMostParameters)
            throw LumVoxSoap::SOAPFormatException(LumPalMsg::CreateError_t("A call has at most %1 parameters.")
                                                  << static_cast<unsigned>(kMostParameters));
        return &arguments.emplace_back(name, String_t());
    }
    /// Valid as long as this object.
    std::vector<const char16_t*> Texts() const {
        std::vector<const char16_t*> texts;
        for (const SOAPArgUnicodeString& argument : arguments) texts.push_back(argument.GetValue().GetBuffer());
        return texts;
    }

private:
    std::deque<SOAPArgUnicodeString> arguments;
};

void SendResult(RpcServerCall::Impl& call, int value) {
    LumVoxSoap::SOAPArgInt result("result", value);
    result.SetTypeAttribute();
    SOAPArg* const arguments[] = {&result};
    LumVoxSoap::SOAPEnvelope envelope;
    envelope.SetMethod(call.method + "Response");
    envelope.SetArgs(1, arguments);
    SendEnvelope(call, envelope);
}

}  // namespace

void CallFunction(Function function, RpcServerCall::Impl& call) {
    Parameters parameters;
    LumVoxSoap::ReadEnvelope(ReadBlocks(std::move(call.body), LumVoxMsg::AfterRead::Free), parameters);
    const std::vector<const char16_t*> texts = parameters.Texts();
    call.value = function(call.sender.c_str(), !call.sender.empty(), static_cast<int>(texts.size()), texts.data());
    SendResult(call, *call.value);
}

}  // namespace LumVoxRpc
