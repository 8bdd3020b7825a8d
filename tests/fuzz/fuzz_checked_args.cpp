// Any bytes as a request: what a caller who is not allowed it is held against takes and refuses what the arguments
// themselves do, for the same reason.
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

#include "CheckedArgs.h"
#include "ConfigGroupSoapArg.h"
#include "SelectionSoapArg.h"

namespace {

using LumVoxSoap::SOAPArg;

constexpr int kMostNamespaces = 3;

/// All arguments of which a stand-in exists, and one that has none.
template <class Text, class Bytes, class Install, class Files, class Group>
struct Arguments {
    LumConf::SelectionSoapArg selection{"PolicySelection"};
    Text text{"PolicyString1"};
    Bytes bytes{"PolicyByteArrayName"};
    Install install{"PolicyInstallOptions"};
    Files dataFiles;
    Group group{"ConfigGroupName", kMostNamespaces};
    SOAPArg* all[6] = {&selection, &text, &bytes, &install, &dataFiles, &group};

    /// Why the message is refused; empty when it is not.
    std::string Refusal(const LumPalArray::CharArray_t& message) {
        try {
            LumVoxSoap::SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t::Over(message),
                                            static_cast<int>(std::size(all)), all);
        } catch (const LumPalMsg::RuntimeException_t& e) {
            return "refused: " + e.GetMessageList().Format(LumPalMsg::BareText).ToUtf8();
        }
        return {};
    }
};

struct Text : LumVoxSoap::SOAPArgUnicodeString {
    explicit Text(const char* name) : SOAPArgUnicodeString(name, LumPalStr::String_t()) {}
};
using Kept = Arguments<Text, LumVoxSoap::SOAPArgByteArray, LumConf::InstallOptionsSoapArg, LumConf::DataFilesSoapArg,
                       LumConf::ConfigGroupSoapArg>;
using Checked = Arguments<LumConf::CheckedText, LumConf::CheckedBytes, LumConf::CheckedInstallOptions,
                          LumConf::CheckedDataFiles, LumConf::CheckedGroup>;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const LumPalArray::CharArray_t message(reinterpret_cast<const char*>(data), size);
    Kept kept;
    Checked checked;
    if (kept.Refusal(message) != checked.Refusal(message)) std::abort();
    for (std::size_t i = 0; i < std::size(kept.all); ++i)
        if (kept.all[i]->HasArrived() != checked.all[i]->HasArrived()) std::abort();
    return 0;
}
