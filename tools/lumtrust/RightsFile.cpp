#include "lumtrust/RightsFile.h"

#include <optional>
#include <sstream>

#include "LumPalCfgFile.h"
#include "LumPalRuntime.h"
#include "LumSecRights.h"
#include "common/Arguments.h"
#include "lumtrust/Command.h"

namespace lumtrust {

using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using lumtools::Text;

namespace {

constexpr char kDomain[] = "conf";

ConfigGroup_t Parse(const std::string& text) {
    ConfigGroup_t group;
    LumPalIo::CharArrayInputStream_t stream{CharArray_t(text.data(), text.size())};
    LumPalCfgFile::ConfigReader_t::Load(stream, group, RightsFile::Path().GetAbsolutePath());
    return group;
}

/// The bits that count, as for the daemon. @param unclear  set when a word is no right
unsigned BitsOf(const std::string& words, bool& unclear) {
    std::istringstream in(words);
    unsigned bits = 0;
    for (std::string word; in >> word;) {
        const std::optional<unsigned> right = LumSecAuth::RightBits(Text(word));
        unclear = unclear || !right;
        bits |= right.value_or(0);
    }
    return bits;
}

/// The section that the line begins; none for another line.
std::optional<std::string> SectionOf(const std::string& line) {
    const std::size_t start = line.find_first_not_of(" \t\r\xEF\xBB\xBF");
    if (start == line.npos || line[start] != '[') return std::nullopt;
    const ConfigGroup_t group = Parse(line);
    return group.GetConfigCount() == 1 ? group.GetConfig(0).GetNamespace().ToUtf8() : "";
}

/// Whether the line, which stands in a section, is the sender's.
bool IsOf(const std::string& line, const std::string& sender) {
    const ConfigGroup_t group = Parse("[x]\n" + line);
    String_t name, value;
    return group.GetConfigCount() == 1 && group.GetConfig(0).GetAttr(0, name, value) && name.ToUtf8() == sender;
}

/// "sender=words", escaped as the file needs it.
std::string LineFor(const std::string& sender, unsigned rights) {
    ConfigGroup_t group;
    group.GetConfig(kDomain).SetAttrValue(Text(sender), LumSecAuth::RightNames(rights));
    LumPalIo::CharArrayOutputStream_t out;
    LumPalCfgFile::ConfigWriter_t::Write(out, group);
    std::istringstream lines(std::string(out.ToCharArray().View()));
    for (std::string line; std::getline(lines, line);) {
        if (!SectionOf(line) && IsOf(line, sender)) return line;
    }
    Refuse("'%1' cannot stand in the file of rights.", sender);
}

}  // namespace

LumPalIo::File_t RightsFile::Path() {
    return LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc) + "authorization.ini");
}

RightsFile::RightsFile() {
    if (!RightsFile::Path().Exists()) return;
    text = std::string(ReadFile(RightsFile::Path().ToString().ToUtf8()).View());
    const ConfigGroup_t group = Parse(text);
    if (!group.HasConfig(kDomain)) return;
    String_t sender, words;
    const Configuration_t section = group.GetConfig(kDomain);
    for (int i = 0; section.GetAttr(i, sender, words); ++i) {
        bool isUnclear = false;
        bits[sender.ToUtf8()] = BitsOf(words.ToUtf8(), isUnclear);
        if (isUnclear) unclear.insert(sender.ToUtf8());
    }
}

void RightsFile::Flush() {
    FlushWithFolder(RightsFile::Path());
}

void RightsFile::Set(const std::string& sender, unsigned rights) {
    // Whoever loses everything loses that too; what else it was to mean, only a person can tell.
    if (rights && unclear.contains(sender)) {
        Refuse("The rights of '%1' are not changed: their line holds words that are no rights.", sender);
    }
    const std::string added = rights ? LineFor(sender, rights) + "\n" : "";
    std::istringstream lines(text);
    std::string changed, section;
    bool written = false;
    for (std::string line; std::getline(lines, line);) {
        if (const auto begun = SectionOf(line)) section = *begun;
        const bool theirs = section == kDomain && !SectionOf(line) && IsOf(line, sender);
        if (!theirs) changed += line + "\n";
        // The first line of the section, or the one that is replaced, gives the place.
        if (!written && section == kDomain && (theirs || (SectionOf(line) && !bits.contains(sender)))) {
            changed += added;
            written = true;
        }
    }
    if (!written && rights) changed += "[" + std::string(kDomain) + "]\n" + added;
    ReplaceFile(RightsFile::Path(), CharArray_t(changed.data(), changed.size()), kPublicMode);
    text = changed;
    rights ? static_cast<void>(bits[sender] = rights) : static_cast<void>(bits.erase(sender));
}

}  // namespace lumtrust
