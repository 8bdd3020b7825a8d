// LumPalCodeset.h: texts of the locale.
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "LocaleCodeset.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "StringRep.h"

namespace LumPalStr {
namespace {

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

std::string CodesetOf(Encoding_e encoding) {
    switch (encoding) {
        case Encoding_e::Local:
            return LocaleCodeset();
        case Encoding_e::Ascii:
            return "US-ASCII";
        case Encoding_e::Latin1:
            return "ISO-8859-1";
        case Encoding_e::Utf8:
            return "UTF-8";
    }
    throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("There is no encoding %1.")
                                            << static_cast<int>(encoding));
}

void Check(UErrorCode status, const std::string& codeset) {
    if (U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("Cannot convert text by encoding '%1': %2")
                                                << codeset.c_str() << u_errorName(status));
    }
}

Converter Open(const std::string& codeset) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(codeset.c_str(), &status));
    Check(status, codeset);
    ucnv_setSubstString(converter.get(), u"?", 1, &status);
    Check(status, codeset);
    return converter;
}

std::int32_t IcuLength(std::size_t length) {
    CheckLength(length > std::numeric_limits<std::int32_t>::max() ? std::uint64_t{MaxLength} + 1 : length);
    return static_cast<std::int32_t>(length);
}

std::string Encoded(const String_t& text, const std::string& codeset) {
    if (codeset == "UTF-8") return text.ToUtf8();
    const Converter converter = Open(codeset);
    const std::int32_t length = IcuLength(text.GetLength());
    UErrorCode status = U_ZERO_ERROR;
    std::string bytes(static_cast<std::size_t>(length), '\0');
    const auto needed = ucnv_fromUChars(converter.get(), bytes.data(), length, text.GetBuffer(), length, &status);
    Check(status, codeset);
    bytes.resize(static_cast<std::size_t>(needed));
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        ucnv_fromUChars(converter.get(), bytes.data(), needed, text.GetBuffer(), length, &status);
        Check(status, codeset);
    }
    return bytes;
}

String_t Decoded(const char* text, const std::string& codeset) {
    if (codeset == "UTF-8") return String_t::FromUtf8(text);
    const Converter converter = Open(codeset);
    const std::int32_t length = IcuLength(std::strlen(text));
    UErrorCode status = U_ZERO_ERROR;
    std::u16string units(static_cast<std::size_t>(length) * 2, u'\0');
    const auto got = ucnv_toUChars(converter.get(), units.data(), length * 2, text, length, &status);
    Check(status, codeset);
    return String_t(units.data(), static_cast<std::uint32_t>(got));
}

}  // namespace

MBS_t::MBS_t(const String_t& text, Encoding_e encoding) : bytes(Encoded(text, CodesetOf(encoding))) {}

MBS_t::MBS_t(const char* text, Encoding_e from, Encoding_e to)
    : bytes(text ? Encoded(Decoded(text, CodesetOf(from)), CodesetOf(to)) : std::string()) {}

}  // namespace LumPalStr
