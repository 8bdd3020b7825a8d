// Any bytes as a request: the arguments of the policy operations read or refuse them, and what they read is written and
// reads as the same again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "InstallOptionsSoapArg.h"
#include "OptionsSoapArg.h"
#include "PolicyContainerSoapArg.h"
#include "SelectionSoapArg.h"

namespace {

using LumPalArray::CharArray_t;
using LumVoxSoap::SOAPArg;

/// All arguments that have elements inside.
struct Arguments {
    LumConf::SelectionSoapArg selection{"PolicySelection"};
    LumConf::InstallOptionsSoapArg install{"PolicyInstallOptions"};
    LumConf::OptionsSoapArg options{"PolicyOptions"};
    LumConf::PolicyContainerSoapArg policies{"PolicyContainer"};
    SOAPArg* all[4] = {&selection, &install, &options, &policies};

    void Read(const CharArray_t& message) {
        LumVoxSoap::SOAPEnvelope envelope;
        envelope.Read(LumPalIo::CharArrayInputStream_t::Over(message), 4, all);
    }
    CharArray_t Write() {
        LumVoxSoap::SOAPEnvelope envelope;
        envelope.SetMethod("m");
        envelope.SetArgs(4, all);
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
    return 0;
}
