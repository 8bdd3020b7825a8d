/// The reader of SOAP messages against bytes of any kind: it reads or refuses, and what it read can be written.
#include <cstddef>
#include <cstdint>

#include "LumVoxSoap.h"
#include "SoapPeek.h"

using namespace LumVoxSoap;

namespace {

LumPalIo::InputStream_t Over(const std::uint8_t* data, std::size_t size) {
    return LumPalIo::CharArrayInputStream_t(LumPalArray::CharArray_t(reinterpret_cast<const char*>(data), size));
}

void ReadAndWrite(const std::uint8_t* data, std::size_t size) {
    SOAPArgInt number("PolicyOperationMode", 0);
    SOAPArgUnicodeString text("PolicyString1", LumPalStr::String_t());
    SOAPArgByteArray bytes("PolicyByteArrayName");
    SOAPArg* const arguments[] = {&number, &text, &bytes};
    SOAPEnvelope envelope;
    envelope.Read(Over(data, size), 3, arguments);
    envelope.SetMethod("m");
    envelope.SetArgs(3, arguments);
    LumPalIo::CharArrayOutputStream_t out;
    envelope.Write(out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        PeekMethod(Over(data, size));
        ReadAndWrite(data, size);
    } catch (const LumPalMsg::RuntimeException_t&) {
        // refused
    }
    return 0;
}
