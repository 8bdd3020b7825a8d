#include "ChangedNames.h"

#include <algorithm>
#include <string>
#include <vector>

#include "PlainName.h"

namespace LumConfPar {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

/// A caller who may change the configuration must not push others' lines out of the log by long ones.
constexpr int kMostNames = 100;
constexpr std::uint32_t kMostUnits = 128;

constexpr const char* kReadByTheNode[] = {"conf.", "sec.", "vox."};

/// In the marks, so that no name looks like two.
std::string Marked(const String_t& name, char open, char close) {
    std::string marked(1, open);
    for (const char c : LumConf::Shown(name, kMostUnits).ToUtf8()) {
        if (c == open || c == close || c == '\\') marked += '\\';
        marked += c;
    }
    return marked + close;
}

bool IsReadByTheNode(const Configuration_t& configuration) {
    const std::string name = configuration.GetNamespace().ToUtf8();
    return std::any_of(std::begin(kReadByTheNode), std::end(kReadByTheNode),
                       [&name](const char* start) { return name.starts_with(start); });
}

std::vector<Configuration_t> InOrder(const ConfigGroup_t& group) {
    std::vector<Configuration_t> all;
    for (int i = 0; i < group.GetConfigCount(); ++i) all.push_back(group.GetConfig(i));
    std::stable_partition(all.begin(), all.end(), IsReadByTheNode);
    return all;
}

/// Collects names until there are too many; the rest is counted.
class Names {
public:
    void Add(const Configuration_t& configuration, Reach reach) {
        if (HasRoom()) text += (text.empty() ? "" : "; ") + Marked(configuration.GetNamespace(), '[', ']');
        if (reach == Reach::Attributes) AddAttributes(configuration);
    }
    std::string Take() {
        if (text.empty()) text = "nothing";
        if (left > 0) text += "; and " + std::to_string(left) + " more";
        return std::move(text);
    }

private:
    bool HasRoom() {
        if (told++ < kMostNames) return true;
        ++left;
        return false;
    }
    void AddAttributes(const Configuration_t& configuration) {
        String_t name, value;
        for (int i = 0; configuration.GetAttr(i, name, value); ++i) {
            if (HasRoom()) text += (i ? ", " : " ") + Marked(name, '\'', '\'');
        }
    }

    std::string text;
    int told = 0, left = 0;
};

}  // namespace

String_t ChangedNames(const String_t& package, const ConfigGroup_t& group, Reach reach) {
    Names names;
    for (const Configuration_t& configuration : InOrder(group)) names.Add(configuration, reach);
    std::string text = names.Take();
    if (package.IsNotEmpty()) text += ", of the package " + Marked(package, '\'', '\'');
    return String_t::FromUtf8(text);
}

}  // namespace LumConfPar
