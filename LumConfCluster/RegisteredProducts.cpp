#include "RegisteredProducts.h"

#include <algorithm>
#include <memory>
#include <string>

#include "ClusterProducts.h"
#include "Messages.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::RuntimeException_t;
using LumPalRegistry::Error_t;
using LumPalRegistry::Key_i;
using LumPalRegistry::Registry_i;
using LumPalStr::String_t;

namespace {

constexpr const char* kVcsKey = "SOFTWARE\\VERITAS\\VCS\\Base";
constexpr const char* kVcsHome = "HomeDirectory";

std::unique_ptr<Key_i> OpenVcsKey(Registry_i& registry) {
    Error_t error = LumPalRegistry::Success;
    std::unique_ptr<Key_i> key = registry.Open(kVcsKey, error);
    if (!key) Raise<RuntimeException_t>(msg::VcsKeyNotOpened, error);
    return key;
}

}  // namespace

ClusterType FindRegistered(const String_t& configured, Registry_i& registry) {
    Error_t error = LumPalRegistry::Success;
    const ClusterType found = registry.Open(kVcsKey, error) ? ClusterType::Vcs : ClusterType::Mscs;
    const ClusterType named = NamedType(configured);
    const bool mayContradict = named == ClusterType::Vcs || named == ClusterType::Mscs;
    return mayContradict && named != found ? ClusterType::Unknown : found;
}

String_t VcsHome(Registry_i& registry) {
    const std::unique_ptr<Key_i> key = OpenVcsKey(registry);
    std::size_t size = 0;
    const Error_t sized = key->Query(kVcsHome, nullptr, size);
    if (sized != LumPalRegistry::Success && sized != LumPalRegistry::MoreData)
        Raise<RuntimeException_t>(msg::VcsHomeNotThere, sized);
    std::string bytes(size, '\0');
    if (const Error_t error = key->Query(kVcsHome, bytes.data(), size))
        Raise<RuntimeException_t>(msg::VcsHomeNotRead, error);
    bytes.resize(std::min(size, bytes.size()));
    bytes.resize(std::min(bytes.find('\0'), bytes.size()));
    return String_t::FromUtf8(bytes);
}

}  // namespace LumConfCluster
