#include "XmlNames.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace LumPalXml {
namespace {

using LumPalStr::String_t;

// A longer key would let one document pin memory in the cache.
constexpr std::size_t LongestKey = 512;

// Names of one namespace differ at their ends, so the tail and the length tell them apart.
std::size_t Hash(std::string_view key) noexcept {
    std::uint64_t tail = 0;
    const std::size_t count = key.size() < sizeof tail ? key.size() : sizeof tail;
    if (count != 0) std::memcpy(&tail, key.data() + key.size() - count, count);
    return static_cast<std::size_t>((tail ^ key.size() * 0xFF51AFD7ED558CCDu) * 0x9E3779B97F4A7C15u >> 57);
}

std::string_view CutAt(std::string_view& rest) {
    const std::size_t end = rest.find(NameSeparator);
    const std::string_view part = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return part;
}

}  // namespace

String_t XmlNames::SharedUri(std::string_view uri) {
    if (uri != lastUriKey) {
        lastUri = String_t::FromUtf8(uri);
        lastUriKey = uri;
    }
    return lastUri;
}

void XmlNames::Fill(Slot& slot, std::string_view expanded) {
    slot.key.clear();
    std::string_view uri, rest = expanded;
    if (rest.find(NameSeparator) != std::string_view::npos) uri = CutAt(rest);
    const std::string_view local = CutAt(rest), prefix = rest;
    slot.name.uri = SharedUri(uri);
    slot.name.localName = String_t::FromUtf8(local);
    slot.name.qName =
        prefix.empty() ? slot.name.localName : String_t::FromUtf8(std::string(prefix) + ':' + std::string(local));
    slot.key = expanded;
}

const XmlName& XmlNames::Get(const char* expanded) {
    const std::string_view key = expanded;
    Slot& slot = key.size() > LongestKey ? overflow : slots[Hash(key)];
    if (slot.key != key) Fill(slot, key);
    return slot.name;
}

}  // namespace LumPalXml
