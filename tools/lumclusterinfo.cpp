/// @file
/// lumclusterinfo: tells an operator, or a script, of the cluster that this node belongs to.
#include <cstdio>
#include <iostream>

#include "LumConfCluster/ClusterCliHandler.h"
#include "LumPalConsole.h"
#include "LumPalRuntime.h"
#include "common/ExitCode.h"
#include "common/Outcome.h"
#include "common/Utf8Arguments.h"

namespace {

using LumConfCluster::ClusterCliHandler;

int Run() {
    int code = lumtools::kFailed;
    const lumtools::Outcome outcome = lumtools::Attempt([&code] { code = ClusterCliHandler().Process(); });
    if (outcome.code == lumtools::kDone) return code;
    lumtools::PrintFailure(std::cerr, "", outcome);
    return lumtools::kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    LumPalConsole::OccupyStandardStreams();
    if (!lumtools::AreArgumentsUtf8("lumclusterinfo", argc, argv)) return lumtools::kWrongUsage;
    LumPalRuntime::App_t::Init(argc, argv);
    const int code = Run();
    if (code == ClusterCliHandler::VersionWanted) std::puts("lumclusterinfo " LUM_VERSION);
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return code;
    std::cerr << "lumclusterinfo: standard output cannot be written\n";
    return lumtools::kFailed;
}
