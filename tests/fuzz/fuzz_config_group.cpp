// Any bytes as a settings request: the group in it is read or refused, and what was read is written and reads as the
// same again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ConfigGroupSoapArg.h"

namespace {

using LumPalArray::CharArray_t;
using LumVoxSoap::SOAPArg;

/// The arguments of a request.
struct Arguments {
    LumVoxSoap::SOAPArgInt mode{"PolicyOperationMode", 0};
    LumVoxSoap::SOAPArgUnicodeString package{"ConfigPackageName", LumPalStr::String_t()};
    LumConfPar::ConfigGroupSoapArg group{"ConfigGroupName"};
    SOAPArg* all[3] = {&mode, &package, &group};

    void Read(const CharArray_t& message) {
        LumVoxSoap::SOAPEnvelope envelope;
        envelope.Read(LumPalIo::CharArrayInputStream_t::Over(message), 3, all);
    }
    CharArray_t Write() {
        LumVoxSoap::SOAPEnvelope envelope;
        envelope.SetMethod("configOp");
        envelope.SetArgs(3, all);
        LumPalIo::CharArrayOutputStream_t out;
        envelope.Write(out);
        return out.TakeCharArray();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Arguments first;
    try {
        first.Read(CharArray_t(reinterpret_cast<const char*>(data), size));
    } catch (const LumPalMsg::RuntimeException_t&) {
        return 0;  // refused
    }
    const CharArray_t written = first.Write();
    Arguments second;
    second.Read(written);
    if (!(second.Write() == written)) std::abort();
    if (second.group.GetGroup().GetConfigCount() != first.group.GetGroup().GetConfigCount()) std::abort();
    return 0;
}
