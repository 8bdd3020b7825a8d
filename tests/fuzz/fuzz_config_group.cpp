// Any bytes as a settings request: the group in it is read or refused, and what was read is written and reads as the
// same again.
#include "ConfigGroupSoapArg.h"
#include "RoundTrip.h"

namespace {

/// The arguments of a request.
struct Arguments {
    LumVoxSoap::SOAPArgInt mode{"PolicyOperationMode", 0};
    LumVoxSoap::SOAPArgUnicodeString package{"ConfigPackageName", LumPalStr::String_t()};
    LumConf::ConfigGroupSoapArg group{"ConfigGroupName"};
    LumVoxSoap::SOAPArg* all[3] = {&mode, &package, &group};

    int CountNamespaces() const { return group.GetGroup().GetConfigCount(); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RoundTrip<Arguments> trip;
    if (!trip.Try(data, size)) return 0;
    if (trip.before.CountNamespaces() != trip.after.CountNamespaces()) std::abort();
    return 0;
}
