#include "lumconfd/SettingsFiles.h"

#include <sstream>

#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "LumPalWhole.h"

namespace lumconfd {

using LumPalCfgFile::BadLine_t, LumPalCfgFile::ConfigReader_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigSource;
using LumPalIo::CharArrayInputStream_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kLargestFile = 64u << 20;  // as a node reads it
constexpr std::size_t kMostBadLines = 20;        // of one file

/// What stands below a namespace that cannot be read belongs to none that anybody knows.
std::string WithoutLines(std::string_view text, const std::vector<BadLine_t>& bad) {
    std::string rest;
    auto next = bad.begin();
    std::istringstream lines{std::string(text)};
    unsigned long number = 1;
    for (std::string line; std::getline(lines, line); ++number) {
        const bool isBad = next != bad.end() && next->line == number;
        if (isBad) ++next;
        const bool isNamespace = isBad && line.compare(line.find_first_not_of(" \t"), 1, "[") == 0;
        rest += (isNamespace ? "[-]" : isBad ? "" : line) + "\n";
    }
    return rest;
}

/// The first line was told by who could not read it.
ConfigGroup_t ReadRest(const String_t& path, std::vector<std::string>& problems) {
    const auto bytes = LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(path), kLargestFile);
    ConfigGroup_t group;
    if (!bytes) return group;
    const auto bad = ConfigReader_t::FindBadLines(CharArrayInputStream_t::Over(*bytes), kMostBadLines, path);
    for (std::size_t i = 1; i < bad.size(); ++i)
        problems.push_back(bad[i].message.Format(LumPalMsg::BareText).ToUtf8());
    if (bad.size() > kMostBadLines) return group;
    const std::string rest = WithoutLines(bytes->View(), bad);
    const LumPalArray::CharArray_t kept(rest.data(), rest.size());
    ConfigReader_t::Load(CharArrayInputStream_t::Over(kept), group, path);
    return group;
}

ConfigGroup_t ReadFile(ConfigSource source, const char* name, std::vector<std::string>& problems) {
    try {
        return LumPalConfig::ConfigBase_t::Open("", source);
    } catch (const LumPalCfgFile::SyntaxException_t& e) {
        problems.emplace_back(e.what());
        return ReadRest(
            LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc, "pal") + "config" + LumPalIo::File_t::Separator() + name,
            problems);
    }
}

}  // namespace

SettingsRead ReadSettingsFiles() {
    SettingsRead read;
    ConfigGroup_t local = ReadFile(ConfigSource::Local, "local_settings.ini", read.problems);
    read.group = ReadFile(ConfigSource::Policy, "policy_settings.ini", read.problems);
    read.group.MoveIn(local);
    return read;
}

}  // namespace lumconfd
