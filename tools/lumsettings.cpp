/// @file
/// lumsettings: the operator's tool for the settings of nodes.
#include "common/Program.h"
#include "lumsettings/Command.h"

namespace {

const char* const kUsage =
    "usage: lumsettings COMMAND [OPTION...]\n"
    "  get [NAMESPACE [NAME]]         tell settings, one namespace of them, or one value\n"
    "  set NAMESPACE NAME=VALUE...    change local settings\n"
    "  set --from FILE                change all that a file of settings names\n"
    "  clear NAMESPACE [NAME]         take local settings away\n"
    "  explain NAMESPACE [NAME]       tell who sets values of this node, and what is overridden\n"
    "  diff FILE...                   tell what installing settings policies would change on this node\n"
    "  diff --disable POLICY          likewise of one that is installed; also --enable, --remove\n"
    "  keys [NAMESPACE]               tell which keys a node knows\n"
    "  describe KEY                   tell of one of them: what it does, what it may hold, when it counts\n"
    "--host HOST[:PORT] names a node (default: localhost). 'lumsettings help COMMAND' tells more.\n";

const char* const kFooter =
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found, 5 refused,\n"
    "6 the node could not be reached.\n"
    "For many nodes: the code that all have in common; 0 also when some had nothing to do; else 8.";

const lumtools::Program kProgram{"lumsettings",
                                 LUM_VERSION,
                                 "Reads, changes and explains the settings of nodes.",
                                 kUsage,
                                 kFooter,
                                 {lumsettings::AddGet, lumsettings::AddChanges, lumsettings::AddExplain,
                                  lumsettings::AddDiff, lumsettings::AddKeys}};

}  // namespace

int main(int argc, char** argv) {
    return lumtools::RunProgram(kProgram, argc, argv);
}
