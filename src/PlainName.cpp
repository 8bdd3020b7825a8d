#include "PlainName.h"

#include <algorithm>
#include <string_view>

#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

// Enough of a name that is refused.
constexpr std::uint32_t kShownUnits = 120;

bool IsForbiddenUnit(char16_t unit) {
    const bool separator = unit == u'/' || unit == u'\\';
    const bool control = unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
    const bool lineSeparator = unit == 0x2028 || unit == 0x2029;
    return separator || control || lineSeparator;
}

// A lone surrogate has no UTF-8 form: two names with different ones would mean the same file.
bool IsWellFormed(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool high = (text[i] & 0xFC00) == 0xD800;
        const bool low = (text[i] & 0xFC00) == 0xDC00;
        if (low || (high && (i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00))) return false;
        if (high) ++i;
    }
    return true;
}

bool HasPlainUnits(std::u16string_view text) {
    return std::none_of(text.begin(), text.end(), IsForbiddenUnit) && IsWellFormed(text);
}

}  // namespace

String_t Shown(const String_t& name, std::uint32_t mostUnits) {
    return name.GetLength() <= mostUnits ? name : name.Left(mostUnits) + "...";
}

bool IsPlainName(const String_t& name, std::uint32_t suffixBytes) {
    // The count of units comes first: it is at most the count of bytes, and it is there for nothing.
    if (name.IsEmpty() || name.GetLength() > kMaxNameBytes || name == "." || name == "..") return false;
    return HasPlainUnits(name.View()) && name.ToUtf8().size() + suffixBytes <= kMaxNameBytes;
}

bool IsHeaderName(const String_t& name) {
    static const String_t& suffix = *new String_t(names::HeaderFileSuffix);  // never destroyed: threads may outlive it
    return name.Right(suffix.GetLength()) == suffix;
}

void CheckPlainName(const String_t& name) {
    if (!IsPlainName(name)) Raise<PolicyFileException>(msg::NameNotPlain, Shown(name, kShownUnits));
}

void CheckPolicyId(const String_t& id) {
    static const std::uint32_t suffixBytes = String_t(names::HeaderFileSuffix).GetLength();
    if (!IsPlainName(id, suffixBytes)) Raise<PolicyFileException>(msg::NameNotPlain, Shown(id, kShownUnits));
}

void CheckDataFileName(const String_t& name) {
    CheckPlainName(name);
    if (IsHeaderName(name)) {
        Raise<PolicyFileException>(msg::DataFileNamedAsHeader, Shown(name, kShownUnits), names::HeaderFileSuffix);
    }
}

void CheckHeaderFileName(const String_t& name) {
    CheckPlainName(name);
    if (!IsHeaderName(name)) {
        Raise<PolicyFileException>(msg::HeaderNameExpected, Shown(name, kShownUnits), names::HeaderFileSuffix);
    }
}

void CheckDataFileNames(const std::vector<String_t>& names) {
    std::for_each(names.begin(), names.end(), CheckDataFileName);
    std::vector<String_t> sorted = names;
    std::sort(sorted.begin(), sorted.end());
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    if (twice != sorted.end()) Raise<PolicyFileException>(msg::NameGivenTwice, Shown(*twice, kShownUnits));
}

}  // namespace LumConf
