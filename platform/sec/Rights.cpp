#include "Rights.h"

#include <cctype>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "LumPalCfgFile.h"
#include "LumPalColumns.h"
#include "LumSecRights.h"

namespace LumSecAuth {

using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

struct NamedRight {
    std::string_view name;
    unsigned bits;
};

constexpr NamedRight kNames[] = {{"install", 1},       {"remove", 2},      {"enable", 4},     {"disable", 8},
                                 {"list", 16},         {"modify", 32},     {"configget", 64}, {"configset", 128},
                                 {"sign", kSignRight}, {"all", kAllRights}};

std::optional<unsigned> ByName(std::string_view word) {
    for (const NamedRight& right : kNames)
        if (right.name == word) return right.bits;
    return std::nullopt;
}

std::optional<unsigned> ByNumber(std::string_view word) {
    const bool hex = word.starts_with("0x") || word.starts_with("0X");
    if (hex) word.remove_prefix(2);
    unsigned value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, hex ? 16 : 10);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    return whole && value <= kAllRights ? std::optional(value) : std::nullopt;
}

std::optional<unsigned> BitsOf(std::string_view word) {
    std::string lower(word);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::optional<unsigned> named = ByName(lower);
    return named ? named : ByNumber(lower);
}

LumPalMsg::Message_t NoRight(std::string_view word, const String_t& sender, const String_t& domain,
                             const String_t& source) {
    return LumPalMsg::CreateWarn_t("'%1' is no right: ignored for sender '%2' of domain '%3' in '%4'.")
           << String_t::FromUtf8(word) << sender << domain << source;
}

/// Calls take for each word between blanks and tabs.
template <class Take>
void ForEachWord(std::string_view text, Take take) {
    for (std::string_view word; !(word = LumPalStr::TakeColumn(text, " \t")).empty();) take(word);
}

}  // namespace

std::optional<unsigned> RightBits(const String_t& word) {
    return BitsOf(word.ToUtf8());
}

String_t RightNames(unsigned bits) {
    if ((bits & kAllRights) == kAllRights) return "all";
    std::string names;
    for (const NamedRight& right : kNames) {
        if ((bits & right.bits) != right.bits) continue;
        names += (names.empty() ? "" : " ") + std::string(right.name);
    }
    return String_t::FromUtf8(names);
}

Rights Rights::Load(const LumPalIo::File_t& file) {
    return file.Exists() ? Read(LumPalIo::FileInputStream_t(file), file.ToString()) : Rights();
}

Rights Rights::Read(LumPalIo::InputStream_t stream, const String_t& source) {
    Rights rights;
    LumPalConfig::ConfigGroup_t group;
    LumPalCfgFile::ConfigReader_t::Load(std::move(stream), group, source);
    for (int i = 0; i < group.GetConfigCount(); ++i) rights.AddDomain(group.GetConfig(i), source);
    return rights;
}

void Rights::AddDomain(const Configuration_t& section, const String_t& source) {
    String_t sender, words;
    for (int i = 0; section.GetAttr(i, sender, words); ++i) {
        unsigned& granted = bits[{section.GetNamespace(), sender}];
        ForEachWord(words.ToUtf8(), [&](std::string_view word) {
            if (const std::optional<unsigned> right = BitsOf(word))
                granted |= *right;
            else
                problems.Add(NoRight(word, sender, section.GetNamespace(), source));
        });
    }
}

unsigned Rights::Granted(const String_t& domain, const String_t& sender) const {
    const auto found = bits.find({domain, sender});
    return found == bits.end() ? 0 : found->second;
}

}  // namespace LumSecAuth
