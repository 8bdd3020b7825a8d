// Any bytes as a request: the arguments of the policy operations read or refuse them, and what they read is written and
// reads as the same again.
#include "DataFilesSoapArg.h"
#include "InstallOptionsSoapArg.h"
#include "OptionsSoapArg.h"
#include "PolicyContainerSoapArg.h"
#include "RoundTrip.h"
#include "SelectionSoapArg.h"

namespace {

/// All arguments that have elements inside.
struct Arguments {
    LumConf::SelectionSoapArg selection{"PolicySelection"};
    LumConf::InstallOptionsSoapArg install{"PolicyInstallOptions"};
    LumConf::OptionsSoapArg options{"PolicyOptions"};
    LumConf::PolicyContainerSoapArg policies{"PolicyContainer"};
    LumConf::DataFilesSoapArg dataFiles;
    LumVoxSoap::SOAPArg* all[5] = {&selection, &install, &options, &policies, &dataFiles};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RoundTrip<Arguments>().Try(data, size);
    return 0;
}
