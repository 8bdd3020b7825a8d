#include "LumConfCluster/ClusterBase.h"

#include <atomic>

#include "Names.h"

namespace LumConfCluster {

namespace {

std::atomic<bool> clusterDetected{false};

}  // namespace

const char* ClusterBase::Get_component_id() {
    return LumConf::names::NsConfCluster;
}

std::int32_t ClusterBase::Get_maxLine() {
    return 80;
}

std::int32_t ClusterBase::Get_msgIndent() {
    return 10;
}

const char* ClusterBase::Get_lumclusterinfo_cli() {
    return "lumclusterinfo";
}

const char* ClusterBase::Get_lumappinstance_cli() {
    return "lumappinstance";
}

bool ClusterBase::GetClusterEnvDetected() {
    return clusterDetected;
}

void ClusterBase::SetClusterEnvDetected(bool detected) {
    clusterDetected = detected;
}

}  // namespace LumConfCluster
