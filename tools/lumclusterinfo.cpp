/// @file
/// lumclusterinfo: tells an operator, or a script, of the cluster that this node belongs to.
#include "common/ClusterTool.h"

int main(int argc, char** argv) {
    return lumtools::RunClusterTool("lumclusterinfo", argc, argv);
}
