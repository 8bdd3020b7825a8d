// Any bytes as the list of revoked certificates: it is broken, or all of it is written as it was read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "LumSecRevoked.h"

using LumSecCore::CertificateId;
using LumSecCore::RevocationList;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string serial = CertificateId::SerialFrom(input);
    if (CertificateId::SerialFrom(serial) != serial) std::abort();
    try {
        RevocationList list = RevocationList::Read(input, "list");
        if (list.ToText() != input) std::abort();
        const auto entries = list.Get();
        for (const auto& entry : entries) {
            if (!list.Holds(entry.id) || !list.Remove(entry.id) || list.Holds(entry.id)) std::abort();
        }
        if (!list.Get().empty()) std::abort();
    } catch (const LumSecCore::KeyStoreException&) {
    }
    return 0;
}
