/// @file
/// lumtrust: the keys, certificates and rights of the local node.
#include "common/Program.h"
#include "lumtrust/Command.h"

namespace {

const char* const kFooter =
    "To be run as the user to whom the node's files belong.\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found,\n"
    "5 this user is not the node's, 130 and 143 ended while the running daemon was waited for.";

const lumtools::Program kProgram{
    "lumtrust",
    LUM_VERSION,
    "Changes the keys, certificates and rights of the local node.",
    nullptr,
    kFooter,
    {lumtrust::AddAuthority, lumtrust::AddIdentity, lumtrust::AddTrusted, lumtrust::AddList, lumtrust::AddRights,
     lumtrust::AddRevoked, lumtrust::AddStatus, lumtrust::AddEnroll, lumtrust::AddPatience}};

}  // namespace

int main(int argc, char** argv) {
    return lumtools::RunProgram(kProgram, argc, argv);
}
