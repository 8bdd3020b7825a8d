#include "common/NodeAccess.h"

#include <filesystem>

#include "LumPalMsg.h"
#include "LumPalRuntime.h"

namespace lumtools {

using LumPalRuntime::Dir_t;
using LumPalStr::String_t;

bool IsNodeClosed() {
    for (const String_t& folder : {Dir_t::Path(LumPalRuntime::Root), Dir_t::Path(LumPalRuntime::Etc)}) {
        std::error_code error;
        const std::filesystem::directory_iterator entries(folder.ToUtf8(), error);
        if (error == std::errc::permission_denied) return true;
    }
    return false;
}

std::string ClosedNodeText() {
    return "This user may not read the node's root '" + Dir_t::Path(LumPalRuntime::Root).ToUtf8() +
           "': run it as the node's user.";
}

void RequireOpenNode() {
    if (!IsNodeClosed()) return;
    throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("The permission is denied."));
}

}  // namespace lumtools
