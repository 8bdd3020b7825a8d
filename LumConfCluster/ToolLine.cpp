#include "ToolLine.h"

#include <algorithm>

#include "LumConfCluster/ClusterUtil.h"
#include "ToolFailure.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

bool IsControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

bool IsSafe(const String_t& name) {
    const auto isForbidden = [](char16_t unit) { return unit == u'"' || IsControl(unit); };
    const std::u16string_view units = name.View();
    return !units.starts_with(u'-') && std::none_of(units.begin(), units.end(), isForbidden);
}

}  // namespace

ToolLine& ToolLine::Words(const char* words) {
    line += " ";
    line += words;
    return *this;
}

ToolLine& ToolLine::Name(const String_t& name) {
    return NameBehind("", name);
}

ToolLine& ToolLine::NameBehind(const char* option, const String_t& name) {
    if (!IsSafe(name)) Raise<ClusterException>(msg::ToolFailed, Make(msg::ToolNameRefused, name, line));
    line += String_t(" \"") + option + name + "\"";
    return *this;
}

String_t ToolLine::GetOut() const {
    return ClusterUtil::GetOut(line);
}

std::vector<String_t> ToolLine::GetOutColl() const {
    return ClusterUtil::GetOutColl(line);
}

ToolEnd ToolLine::GetEnd() const {
    return AsToolFailure([this](const ToolLimits& limits) { return EndOf(line, limits); });
}

}  // namespace LumConfCluster
