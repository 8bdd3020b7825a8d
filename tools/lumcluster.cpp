/// @file
/// lumcluster: tells people of the cluster, and why their policies follow it or do not.
#include "LumPalLog.h"
#include "common/Program.h"
#include "lumcluster/Command.h"

namespace {

const char* const kUsage =
    "usage: lumcluster COMMAND [OPTION...]\n"
    "  status                       tell of the cluster, its groups and applications, and who follows it here\n"
    "  status --watch               go on telling, until Ctrl-C\n"
    "  explain POLICY               tell why a policy is on or off on this node, and what comes next\n"
    "  check                        tell what this node lacks to follow its cluster, and what to do\n"
    "All of them look at this node alone, and change nothing. 'lumcluster help COMMAND' tells more.\n";

const char* const kFooter =
    "Exit codes: 0 done, 1 failed (check: something is wrong), 2 wrong usage, 4 there is no such policy.";

const lumtools::Program kProgram{
    "lumcluster",
    LUM_VERSION,
    "Tells of this node's cluster, and of the policies that follow it.",
    kUsage,
    kFooter,
    {lumcluster::AddStatus, lumcluster::AddExplain, lumcluster::AddCheck, lumcluster::AddPatience}};

}  // namespace

int main(int argc, char** argv) {
    // What the library logs for a monitor, this program tells by itself; lines of a log would spoil a drawn terminal.
    LumPalLog::GetApplicationLog() = LumPalLog::Log_t();
    return lumtools::RunProgram(kProgram, argc, argv);
}
