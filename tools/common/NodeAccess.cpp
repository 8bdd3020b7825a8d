#include "common/NodeAccess.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>

#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "LumSecCore.h"

namespace lumtools {

using LumPalRuntime::Dir_t;
using LumPalStr::String_t;

namespace {

constexpr char kDenied[] = "Permission denied";

bool IsAnyClosed(std::initializer_list<String_t> folders) {
    return std::any_of(folders.begin(), folders.end(), [](const String_t& folder) {
        std::error_code error;
        const std::filesystem::directory_iterator entries(folder.ToUtf8(), error);
        return error == std::errc::permission_denied;
    });
}

bool AreKeysClosed() {
    const String_t keys = LumSecCore::KeyStoreDirectory();
    return IsAnyClosed({keys, String_t(keys + "own"), String_t(keys + "trusted")});
}

[[noreturn]] void Deny() {
    throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t(kDenied));
}

}  // namespace

bool IsNodeClosed() {
    return IsAnyClosed({Dir_t::Path(LumPalRuntime::Root), Dir_t::Path(LumPalRuntime::Etc)});
}

bool HasFailedForAccess(const std::string& said) {
    return IsNodeClosed() || (said.find(kDenied) != said.npos && AreKeysClosed());
}

std::string ClosedNodeText() {
    return "This user may not read the node's root '" + Dir_t::Path(LumPalRuntime::Root).ToUtf8() +
           "': run it as the node's user.";
}

void RequireOpenNode() {
    if (IsNodeClosed()) Deny();
}

void RequireOpenKeys() {
    if (IsNodeClosed() || AreKeysClosed()) Deny();
}

}  // namespace lumtools
