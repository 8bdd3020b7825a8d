// The operator's tool for the policies of a node.
#include "common/Program.h"
#include "lumpolicy/Command.h"

namespace {

const char* const kUsage =
    "usage: lumpolicy COMMAND [OPTION...]\n"
    "  install FILE...              install policies, or replace installed ones\n"
    "  apply FILE|FOLDER...         make nodes have these policies\n"
    "  export DIR                   write policies of a node into a new folder\n"
    "  import DIR                   put what was exported onto nodes\n"
    "  list, show                   list installed policies, show them in full\n"
    "  remove, enable, disable      do that to selected policies\n"
    "  set-owner OWNER              give them to an owner\n"
    "  add-category, remove-category, clear-categories\n"
    "  add-attribute, remove-attribute, clear-attributes\n"
    "  notify                       send what the node has queued for its consumers\n"
    "  status                       tell how nodes fare\n"
    "  reinit                       let the node read its store anew\n"
    "  validate FILE...             say all that is wrong with policy files\n"
    "  sign FILE...                 sign the data files of policy files\n"
    "  verify FILE... | --installed prove who signed the data files\n"
    "  dump                         write the policies of this node as one list\n"
    "--host HOST[:PORT] names a node (default: localhost). 'lumpolicy help COMMAND' tells more.\n";

const char* const kExitCodes =
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found, 5 refused,\n"
    "6 the node could not be reached, 7 done but not every consumer could be told.\n"
    "For many nodes: the code that all have in common; 0 also when some had nothing to do; else 8.";

const lumtools::Program kProgram{
    "lumpolicy",
    LUM_VERSION,
    "Installs, lists, changes and removes the policies of nodes.",
    kUsage,
    kExitCodes,
    {lumpolicy::AddInstall, lumpolicy::AddQueries, lumpolicy::AddChanges, lumpolicy::AddNodeWork, lumpolicy::AddApply,
     lumpolicy::AddExport, lumpolicy::AddStatus, lumpolicy::AddLocal, lumpolicy::AddTrust}};

}  // namespace

int main(int argc, char** argv) {
    return lumtools::RunProgram(kProgram, argc, argv);
}
