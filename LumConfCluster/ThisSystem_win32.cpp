#include "LumPalRegistry.h"
#include "LumPalRuntime.h"
#include "RegisteredProducts.h"
#include "ThisSystem.h"

namespace LumConfCluster {

using LumPalStr::String_t;

ClusterType FindProduct(const String_t& configured) {
    return FindRegistered(configured, LumPalRegistry::LocalMachine());
}

String_t VcsFolder(const ClusterProduct&) {
    return VcsHome(LumPalRegistry::LocalMachine()) + "\\bin";
}

const char* ProgramSuffix() {
    return ".exe";
}

String_t LocalNodeCommand() {
    return LumPalRuntime::Environment_t::Get("SystemRoot") + "\\system32\\hostname.exe";
}

}  // namespace LumConfCluster
