/// @file
/// lumappinstance: tells an operator, or a script, of the applications that the cluster moves, and of their instances.
#include "common/ClusterTool.h"

int main(int argc, char** argv) {
    return lumtools::RunClusterTool("lumappinstance", argc, argv);
}
