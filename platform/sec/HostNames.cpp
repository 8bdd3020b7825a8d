#include "HostNames.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>

namespace LumSecCore {

namespace {

std::string_view BytesOf(const ASN1_STRING* text) {
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
            static_cast<std::size_t>(ASN1_STRING_length(text))};
}

std::string Printable(std::string_view bytes) {
    std::string text(bytes);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte <= 0x20 || byte >= 0x7F; }, '?');
    return text;
}

std::string IPv4Text(std::string_view bytes) {
    std::string text;
    for (const unsigned char byte : bytes) text += (text.empty() ? "" : ".") + std::to_string(byte);
    return text;
}

std::string IPv6Text(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        char group[8] = "";
        const unsigned high = static_cast<unsigned char>(bytes[i]), low = static_cast<unsigned char>(bytes[i + 1]);
        std::snprintf(group, sizeof group, "%x", high << 8u | low);
        text += (i == 0 ? "" : ":") + std::string(group);
    }
    return text;
}

std::string AddressText(std::string_view bytes) {
    if (bytes.size() == 4) return IPv4Text(bytes);
    return bytes.size() == 16 ? IPv6Text(bytes) : std::string();
}

std::string TextOf(const GENERAL_NAME* name) {
    if (name->type == GEN_DNS) return Printable(BytesOf(name->d.dNSName));
    return name->type == GEN_IPADD ? AddressText(BytesOf(name->d.iPAddress)) : std::string();
}

}  // namespace

std::vector<std::string> HostNames(const x509_st* certificate) {
    const std::unique_ptr<GENERAL_NAMES, decltype(&GENERAL_NAMES_free)> names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)),
        GENERAL_NAMES_free);
    std::vector<std::string> texts;
    for (int i = 0; names && i < sk_GENERAL_NAME_num(names.get()); ++i) {
        std::string text = TextOf(sk_GENERAL_NAME_value(names.get(), i));
        if (!text.empty()) texts.push_back(std::move(text));
    }
    ERR_clear_error();
    return texts;
}

}  // namespace LumSecCore
