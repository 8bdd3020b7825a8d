#include "MscsCalls.h"

#include <algorithm>
#include <string_view>

#include "LoggedFailure.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kZeroed = 64;

}  // namespace

const MscsList kMscsNodes{&LumPalMscs::Api_i::ClusterOpenEnum,
                          &LumPalMscs::Api_i::ClusterEnum,
                          &LumPalMscs::Api_i::ClusterCloseEnum,
                          1,
                          {msg::MscsNodesNoRoom, msg::MscsNodesNotRead}};
const MscsList kMscsGroups{&LumPalMscs::Api_i::ClusterOpenEnum,
                           &LumPalMscs::Api_i::ClusterEnum,
                           &LumPalMscs::Api_i::ClusterCloseEnum,
                           8,
                           {msg::MscsGroupsNoRoom, msg::MscsGroupsNotRead}};
const MscsList kMscsResourcesOfGroup{&LumPalMscs::Api_i::ClusterGroupOpenEnum,
                                     &LumPalMscs::Api_i::ClusterGroupEnum,
                                     &LumPalMscs::Api_i::ClusterGroupCloseEnum,
                                     1,
                                     {msg::MscsResourcesNoRoom, msg::MscsResourcesNotRead}};
const MscsList kMscsNodesOfResource{&LumPalMscs::Api_i::ClusterResourceOpenEnum,
                                    &LumPalMscs::Api_i::ClusterResourceEnum,
                                    &LumPalMscs::Api_i::ClusterResourceCloseEnum,
                                    4,
                                    {msg::MscsResourceNodesNoRoom, msg::MscsResourceNodesNotRead}};

MscsBuffer::MscsBuffer(LumPalMscs::System_i& system, std::size_t bytes, const MessageOf<0>& noRoom)
    : system(system), memory(system.LocalAlloc(kZeroed, bytes)), bytes(nullptr) {
    if (!memory) TraceAndRaise(msg::MscsNotAllocated, LumPalStr::NumToStr(bytes), system.GetLastError(), Make(noRoom));
    this->bytes = system.LocalLock(memory);
    if (this->bytes) return;
    const std::uint32_t error = system.GetLastError();
    system.LocalFree(memory);
    TraceAndRaise(msg::MscsNotLocked, error, Make(noRoom));
}

MscsBuffer::~MscsBuffer() {
    system.LocalUnlock(memory);
    system.LocalFree(memory);
}

String_t MscsText(const char16_t* text, std::uint32_t length) {
    const std::u16string_view units(text, length);
    return String_t(text, static_cast<std::uint32_t>(std::min(units.find(u'\0'), units.size())));
}

bool MscsCalls::Ask(const Question& question, String_t& text, const MscsFailures& failures) const {
    std::uint32_t length = 0;
    std::uint32_t result = question(nullptr, length);
    if (result == LumPalMscs::NoMoreItems) return false;
    if (result != LumPalMscs::Success && result != LumPalMscs::MoreData) TraceAndRaise(failures.failed, result);
    const std::uint32_t room = length + 1;
    const MscsBuffer buffer(system, (std::size_t{length} + 1) * sizeof(char16_t), failures.noRoom);
    length = room;
    result = question(buffer.Text(), length);
    if (result == LumPalMscs::NoMoreItems) return false;
    if (result != LumPalMscs::Success) TraceAndRaise(failures.failed, result);
    text = MscsText(buffer.Text(), std::min(length, room - 1));
    return true;
}

std::vector<String_t> MscsCalls::Names(LumPalMscs::Handle_t owner, const MscsList& list) const {
    const MscsHandle opened((api.*list.open)(owner, list.type),
                            [&](LumPalMscs::Handle_t handle) { (api.*list.close)(handle); });
    if (!opened.Get()) TraceAndRaise(list.failures.failed, system.GetLastError());
    std::vector<String_t> names;
    const auto entry = [&](char16_t* name, std::uint32_t& length) {
        std::uint32_t type = 0;
        return (api.*list.entry)(opened.Get(), static_cast<std::uint32_t>(names.size()), type, name, length);
    };
    for (String_t name; Ask(entry, name, list.failures);) names.push_back(name);
    return names;
}

MscsProperties MscsCalls::Properties(LumPalMscs::Handle_t resource, std::uint32_t code,
                                     const MessageOf<1>& failed) const {
    std::uint32_t size = sizeof(char16_t), returned = 0, result = LumPalMscs::MoreData;
    MscsProperties properties{};
    for (int attempt = 0; attempt < 2 && result == LumPalMscs::MoreData; ++attempt, size = returned) {
        properties.buffer = std::make_unique<MscsBuffer>(system, size, msg::MscsResourcesNoRoom);
        returned = 0;
        result = api.ClusterResourceControl(resource, code, properties.buffer->Get(), size, returned);
        properties.size = std::min(returned, size);
    }
    if (result != LumPalMscs::Success) TraceAndRaise(failed, result);
    return properties;
}

String_t MscsCalls::Property(const MscsProperties& list, const char16_t* name, const MessageOf<1>& failed) const {
    char16_t* value = nullptr;
    const std::uint32_t result = api.ResUtilFindSzProperty(list.buffer->Get(), list.size, name, value);
    if (result != LumPalMscs::Success) TraceAndRaise(failed, result);
    const MscsHandle copy(value, [&](LumPalMscs::Handle_t memory) { system.LocalFree(memory); });
    return String_t(static_cast<const char16_t*>(value));
}

}  // namespace LumConfCluster
