#include "common/MonitorState.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "LumPalArray.h"
#include "LumPalDurable.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "LumPalWhole.h"

namespace lumtools {

using LumPalIo::File_t;
using LumPalRuntime::Dir_t;
using LumPalStr::String_t;
using nlohmann::json;

namespace {

constexpr const char* kFile = "cluster.monitor.json";
constexpr const char* kAsidePrefix = ".cluster.monitor-";
constexpr unsigned kMode = 0640;
constexpr int kSchema = 1;
constexpr std::uint64_t kLargestFile = 64u << 20;

constexpr std::array<const char*, 4> kPhases{"starting", "watching", "waiting", "stopped"};

json ToJson(const std::vector<InstanceSide>& sides) {
    json list = json::array();
    for (const InstanceSide& side : sides) {
        list.push_back(
            {{"application", side.application}, {"instance", side.name}, {"group", side.group}, {"here", side.here}});
    }
    return list;
}

std::vector<InstanceSide> SidesOf(const json& list) {
    std::vector<InstanceSide> sides;
    for (const json& side : list) {
        sides.push_back({side.at("application"), side.at("instance"), side.at("group"), side.at("here")});
    }
    return sides;
}

MonitorState::Phase PhaseOf(const std::string& word) {
    const auto found = std::find(kPhases.begin(), kPhases.end(), word);
    if (found == kPhases.end()) throw std::invalid_argument("there is no phase '" + word + "'");
    return static_cast<MonitorState::Phase>(found - kPhases.begin());
}

MonitorState Parsed(const std::string& text) {
    const json read = json::parse(text);
    if (read.at("schema") != kSchema) throw std::invalid_argument("it has another schema");
    MonitorState state;
    state.product = read.at("product");
    state.phase = PhaseOf(read.at("phase"));
    state.since = read.at("since");
    state.endedAt = read.at("ended_at");
    state.endedBy = read.at("ended_by");
    state.successorAt = read.at("successor_at");
    state.instances = SidesOf(read.at("instances"));
    state.changed = SidesOf(read.at("changed_unwatched"));
    // Former daemons did not write these.
    state.begun = SidesOf(read.value("commands_begun", json::array()));
    state.begunAt = read.value("commands_begun_at", std::int64_t(0));
    state.hinderedBy = read.value("hindered_by", "");
    return state;
}

std::string Content(const File_t& file) {
    const auto bytes = LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(file), kLargestFile);
    if (!bytes) throw std::invalid_argument("it is too large");
    return std::string(bytes->View());
}

}  // namespace

const char* DisplayText(MonitorState::Phase phase) noexcept {
    return kPhases[static_cast<std::size_t>(phase)];
}

bool InstanceSide::IsSameInstance(const InstanceSide& other) const {
    return application == other.application && name == other.name && group == other.group;
}

String_t MonitorState::Path() {
    return Dir_t::Path(LumPalRuntime::Spool) + kFile;
}

std::optional<MonitorState> MonitorState::Read() {
    const File_t file(Path());
    if (!file.Exists()) return std::nullopt;
    try {
        return Parsed(Content(file));
    } catch (const LumPalMsg::Exception_t&) {
        throw;
    } catch (const std::exception& e) {
        throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("'%1' does not tell of a cluster monitor: %2")
                                            << Path() << String_t::FromUtf8(e.what()));
    }
}

void MonitorState::Write() const {
    const json written = {{"schema", kSchema},
                          {"product", product},
                          {"phase", DisplayText(phase)},
                          {"since", since},
                          {"ended_at", endedAt},
                          {"ended_by", endedBy},
                          {"successor_at", successorAt},
                          {"instances", ToJson(instances)},
                          {"changed_unwatched", ToJson(changed)},
                          {"commands_begun", ToJson(begun)},
                          {"commands_begun_at", begunAt},
                          {"hindered_by", hinderedBy}};
    const std::string text = written.dump(1, ' ', false, json::error_handler_t::replace) + "\n";
    File_t(Dir_t::Path(LumPalRuntime::Spool)).Mkdirs();
    LumPalIo::ReplaceFile(File_t(Path()), kAsidePrefix, LumPalArray::CharArray_t(text.data(), text.size()), kMode);
}

}  // namespace lumtools
