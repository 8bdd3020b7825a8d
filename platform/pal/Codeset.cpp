#include "LumPalCodeset.h"

#include <unicode/ucnv.h>

#include "LumPalMsg.h"

namespace LumPalCodeset {
namespace {

/// The registered name, or the library's own for an encoding that was never registered; null when unknown.
const char* StandardName(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    if (U_FAILURE(status)) return nullptr;
    const char* internal = ucnv_getName(converter, &status);
    UErrorCode lookUp = U_ZERO_ERROR;
    const char* standard = ucnv_getStandardName(internal, "IANA", &lookUp);
    // Names stay valid: they belong to the library's alias table, not to the converter.
    const char* canonical = ucnv_getStandardName(internal, "UTR22", &status);
    ucnv_close(converter);
    return standard ? standard : (canonical ? canonical : name);
}

}  // namespace

Codeset_t::Codeset_t(const char* wanted) {
    const char* found = wanted && *wanted ? StandardName(wanted) : nullptr;
    if (!found) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("There is no encoding '%1'.")
                                                << LumPalStr::String_t(wanted));
    }
    name = found;
}

}  // namespace LumPalCodeset
