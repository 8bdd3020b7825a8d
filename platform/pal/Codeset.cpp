// LumPalCodeset.h: converting between UTF-8 and other codesets.
#include "LumPalCodeset.h"

#include <unicode/ucnv.h>

#include <cstring>

#include "LumPalMsg.h"

namespace LumPalCodeset {
namespace {

constexpr const char* NameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.:+()";

/// The library itself skips what is no letter or digit.
bool IsName(const char* name) {
    return name && *name && name[std::strspn(name, NameCharacters)] == 0;
}

/// The name that documents use, or the library's own for an encoding that has none; null when unknown.
const char* StandardName(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    if (U_FAILURE(status)) return nullptr;
    // Names stay valid: they belong to the library's tables, not to the converter.
    const char* internal = ucnv_getName(converter, &status);
    ucnv_close(converter);
    for (const char* standard : {"MIME", "IANA"}) {
        UErrorCode lookUp = U_ZERO_ERROR;
        if (const char* found = ucnv_getStandardName(internal, standard, &lookUp)) return found;
    }
    return internal;
}

}  // namespace

Codeset_t::Codeset_t(const char* wanted) {
    const char* found = IsName(wanted) ? StandardName(wanted) : nullptr;
    if (!found) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("There is no encoding '%1'.")
                                                << LumPalStr::String_t(wanted));
    }
    name = found;
}

}  // namespace LumPalCodeset
