#include "ClusterProducts.h"
#include "LumPalIo.h"
#include "ThisSystem.h"

namespace LumConfCluster {

using LumPalIo::File_t;
using LumPalStr::String_t;

ClusterType FindProduct(const String_t& configured) {
    return Agreed(configured, InstalledType());
}

String_t VcsFolder(const ClusterProduct& product) {
    return File_t(product.daemonFile).GetParent();
}

const char* ProgramSuffix() {
    return "";
}

String_t LocalNodeCommand() {
    return "/bin/uname -n";
}

}  // namespace LumConfCluster
