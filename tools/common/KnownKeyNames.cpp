// What is said of names that no key or namespace has: the part of KnownKeys.h on them.
#include <algorithm>
#include <cctype>

#include "LumPalKeys.h"
#include "common/KnownKeys.h"
#include "common/Nearest.h"

namespace lumtools {

using namespace LumPalKeys;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

/// The namespaces of words for states, one for each product.
constexpr const char* kStates = "conf.cluster.RGState.";

std::vector<std::string> Namespaces() {
    std::vector<std::string> names;
    for (const KnownKey& key : KnownKeys()) {
        if (names.empty() || names.back() != key.nameSpace) names.emplace_back(key.nameSpace);
    }
    return names;
}

std::vector<std::string> NamesIn(const std::string& nameSpace) {
    std::vector<std::string> names;
    for (const KnownKey& key : KnownKeys()) {
        if (nameSpace.empty() || key.nameSpace == nameSpace) names.emplace_back(key.name);
    }
    return names;
}

bool IsOurs(const std::string& nameSpace) {
    const std::vector<std::string> names = Namespaces();
    return std::find(names.begin(), names.end(), nameSpace) != names.end();
}

std::string InCase(const std::string& name, int (*change)(int)) {
    std::string changed = name;
    std::transform(changed.begin(), changed.end(), changed.begin(),
                   [change](unsigned char c) { return static_cast<char>(change(c)); });
    return changed;
}

/// Keys are in capitals; who forgets that means them all the same.
std::string Capitals(const std::string& name) {
    return InCase(name, &std::toupper);
}

/// Namespaces are not, but for parts that no key of ours has.
std::string Small(const std::string& name) {
    return InCase(name, &std::tolower);
}

/// Nobody else's namespaces begin so.
bool LooksLikeOurs(const std::string& typed) {
    if (typed.starts_with(kStates)) return false;
    const std::string nameSpace = Small(typed);
    const bool begins =
        nameSpace.starts_with("conf.") || nameSpace.starts_with("sec.") || nameSpace.starts_with("vox.");
    return begins || !NearestOf(nameSpace, Namespaces()).empty();
}

std::string ShownName(const std::string& name) {
    constexpr std::size_t most = 120;
    return name.size() <= most ? name : name.substr(0, most) + "...";
}

std::string Sentence(const std::string& text, const std::string& typed, const std::vector<std::string>& words) {
    const std::string suggestion = Suggestion(typed, words);
    return text + (suggestion.empty() ? "." : suggestion);
}

/// The key of this name, in any case, of whatever namespace.
const KnownKey* FindAnywhere(const std::string& typed) {
    const auto found = std::find_if(KnownKeys().begin(), KnownKeys().end(),
                                    [name = Capitals(typed)](const KnownKey& key) { return name == key.name; });
    return found == KnownKeys().end() ? nullptr : &*found;
}

std::string Belongs(const KnownKey& key) {
    return std::string("; '") + key.name + "' is a key of [" + key.nameSpace + "]";
}

/// The name itself, where it is that of a key elsewhere, before one that only looks like it.
std::string UnknownName(const std::string& nameSpace, const std::string& typed) {
    const std::string text = "Nobody reads a key '" + ShownName(typed) + "' of [" + nameSpace + "]";
    const KnownKey* const elsewhere = FindAnywhere(typed);
    if (elsewhere && nameSpace != elsewhere->nameSpace) return text + Belongs(*elsewhere) + ".";
    const std::string suggestion = Suggestion(Capitals(typed), NamesIn(nameSpace));
    if (!suggestion.empty()) return text + suggestion;
    const KnownKey* const near = FindAnywhere(NearestOf(Capitals(typed), NamesIn("")));
    return text + (near ? Belongs(*near) : "") + ".";
}

/// It has a name in the library, and no effect.
bool IsReserved(const std::string& nameSpace, const std::string& name) {
    return nameSpace == NsConfCluster && name == BufferSizeKey;
}

void AddUnknownNames(const Configuration_t& configuration, std::vector<std::string>& sentences) {
    const std::string nameSpace = configuration.GetNamespace().ToUtf8();
    String_t name, value;
    for (int i = 0; configuration.GetAttr(i, name, value); ++i) {
        const std::string typed = name.ToUtf8();
        if (FindKey(nameSpace, typed) || IsReserved(nameSpace, typed)) continue;
        sentences.push_back(UnknownName(nameSpace, typed));
    }
}

/// By its own name, else by the first key in it that is known.
std::string UnknownNamespace(const Configuration_t& configuration) {
    const std::string nameSpace = configuration.GetNamespace().ToUtf8();
    const std::string text = "Nobody reads a namespace [" + ShownName(nameSpace) + "]";
    const std::string suggestion = Suggestion(Small(nameSpace), Namespaces());
    if (!suggestion.empty()) return text + suggestion;
    const KnownKey* known = nullptr;
    String_t name, value;
    for (int i = 0; !known && configuration.GetAttr(i, name, value); ++i) known = FindAnywhere(name.ToUtf8());
    return text + (known ? Belongs(*known) : "") + ".";
}

}  // namespace

std::vector<std::string> UnknownKeys(const LumPalConfig::ConfigGroup_t& group) {
    std::vector<std::string> sentences;
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t configuration = group.GetConfig(i);
        const std::string nameSpace = configuration.GetNamespace().ToUtf8();
        if (IsOurs(nameSpace)) {
            AddUnknownNames(configuration, sentences);
        } else if (LooksLikeOurs(nameSpace)) {
            sentences.push_back(UnknownNamespace(configuration));
        }
    }
    return sentences;
}

std::vector<std::string> KeysWithoutEffect(const LumPalConfig::ConfigGroup_t& group) {
    if (!group.HasConfig(NsConfCluster) || !group.GetConfig(String_t(NsConfCluster)).HasAttr(BufferSizeKey)) return {};
    return {std::string("The key '") + BufferSizeKey + "' of [" + NsConfCluster + "] has no effect."};
}

std::string NearestSetting(const std::string& nameSpace, const std::string& name) {
    if (!IsOurs(nameSpace)) return Sentence("", Small(nameSpace), Namespaces());
    return name.empty() || FindKey(nameSpace, name) ? "." : Sentence("", Capitals(name), NamesIn(nameSpace));
}

std::string NobodyReads(const std::string& nameSpace, const std::string& name) {
    const LumPalConfig::ConfigGroup_t group;
    Configuration_t configuration = group.GetConfig(String_t::FromUtf8(nameSpace));
    if (!name.empty()) configuration.SetAttrValue(String_t::FromUtf8(name), "");
    const std::vector<std::string> unknown = UnknownKeys(group);
    return unknown.empty() ? "" : unknown.front();
}

std::string NoSuchKey(const std::string& name) {
    return Sentence("There is no key '" + ShownName(name) + "'", Capitals(name), NamesIn(""));
}

}  // namespace lumtools
