#include "lumsettings/SettingsText.h"

#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "common/Table.h"

namespace lumsettings {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using nlohmann::ordered_json;

namespace {

std::string Written(const ConfigGroup_t& group) {
    LumPalIo::CharArrayOutputStream_t stream;
    LumPalCfgFile::ConfigWriter_t::Write(stream, group);
    return std::string(stream.TakeCharArray().View());
}

}  // namespace

void CheckNames(const ConfigGroup_t& group) {
    Written(group);
}

std::string FileText(const ConfigGroup_t& group) {
    try {
        return Written(group);
    } catch (const LumPalMsg::IllegalArgumentError_t& e) {
        // Not what the caller asked for is wrong, but what a node told.
        throw LumPalMsg::RuntimeException_t(e.GetMessageList());
    }
}

std::string LineOf(const String_t& nameSpace, const String_t& name, const String_t& value) {
    const ConfigGroup_t group;
    group.GetConfig(nameSpace).SetAttrValue(name, value);
    std::string text = FileText(group);
    text.replace(text.find('\n'), 1, " ");
    return text.substr(0, text.size() - 1);
}

std::string Escaped(const String_t& value) {
    return LineOf("a", "a", value).substr(std::string("[a] a=").size());
}

ordered_json ToJson(const ConfigGroup_t& group) {
    ordered_json object = ordered_json::object();
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t configuration = group.GetConfig(i);
        ordered_json& values = object[configuration.GetNamespace().ToUtf8()] = ordered_json::object();
        String_t name, value;
        for (int j = 0; configuration.GetAttr(j, name, value); ++j) values[name.ToUtf8()] = value.ToUtf8();
    }
    return object;
}

int CountSettings(const ConfigGroup_t& group) {
    int count = 0;
    for (int i = 0; i < group.GetConfigCount(); ++i) count += group.GetConfig(i).GetAttrCount();
    return count;
}

std::string LinesOf(const Change& change) {
    std::string lines;
    if (change.before) lines += "- " + LineOf(change.nameSpace, change.name, *change.before) + "\n";
    if (change.after) lines += "+ " + LineOf(change.nameSpace, change.name, *change.after) + "\n";
    return lines;
}

ordered_json ToJson(const Change& change) {
    ordered_json object{{"namespace", change.nameSpace.ToUtf8()}, {"name", change.name.ToUtf8()}};
    if (change.before) object["old"] = change.before->ToUtf8();
    if (change.after) object["new"] = change.after->ToUtf8();
    return object;
}

}  // namespace lumsettings
