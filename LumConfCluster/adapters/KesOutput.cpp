#include "KesOutput.h"

#include <algorithm>
#include <string_view>

#include "ClusterNodeImpl.h"
#include "Messages.h"
#include "ToolFields.h"
#include "ToolText.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::RuntimeException_t;
using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

constexpr const char* kBetweenFields = ":";
constexpr std::size_t kHeading = 2;

void CheckLength(const String_t& record) {
    const std::u16string_view units = record.View();
    if (std::count(units.begin(), units.end(), u':') < 5) Raise<RuntimeException_t>(msg::KesRecordTooShort, record);
}

std::uint16_t IdIn(const String_t& text, const String_t& node) {
    const std::uint16_t id = NumberIn(text, ClusterNodeImpl::kUnknownId);
    if (id == ClusterNodeImpl::kUnknownId) Raise<RuntimeException_t>(msg::NodeIdNotRead, node, text);
    return id;
}

KesMember MemberOf(const String_t& record) {
    CheckLength(record);
    ToolFields fields(record, kBetweenFields);
    const String_t id = fields.Skip(1).Next(), host = fields.Next();
    const String_t name = host.Left(host.FindOneOf("."));
    return {name, IdIn(id, name), fields.Skip(2).Next()};
}

}  // namespace

String_t KesClusterName(const String_t& record) {
    return ToolFields(record, kBetweenFields).Skip(1).Next();
}

std::vector<KesMember> KesMembers(const ToolLines& lines) {
    std::vector<KesMember> members;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (String_t(lines[i]).Trim().IsNotEmpty()) members.push_back(MemberOf(lines[i]));
    }
    return members;
}

std::vector<KesResource> KesApplications(const ToolLines& lines) {
    std::vector<KesResource> applications;
    for (std::size_t i = kHeading; i < lines.size(); ++i) {
        ToolFields columns = WordsOf(lines[i]);
        const String_t name = columns.Next(), type = columns.Next();
        const String_t word = columns.Skip(1).Next(), host = columns.Next();
        if (name.IsNotEmpty() && type == "application") applications.push_back({name, word, host});
    }
    return applications;
}

bool KesIsRestricted(const ToolLines& profile) {
    return std::any_of(profile.begin(), profile.end(),
                       [](const String_t& line) { return String_t(line).Trim() == "PLACEMENT=restricted"; });
}

ToolLines KesHostingMembers(const ToolLines& profile) {
    ToolLines names;
    for (const String_t& line : profile) {
        const std::uint32_t assigned = line.Find("=");
        if (assigned == NotFound || line.Left(assigned).Trim() != "HOSTING_MEMBERS") continue;
        for (ToolFields words = WordsOf(line.Mid(assigned + 1)); !words.IsEmpty();) names.push_back(words.Next());
    }
    return names;
}

}  // namespace LumConfCluster
