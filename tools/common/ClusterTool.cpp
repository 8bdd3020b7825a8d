#include "ClusterTool.h"

#include <cstdio>
#include <iostream>

#include "ExitCode.h"
#include "LumConfCluster/ClusterCliHandler.h"
#include "LumPalRuntime.h"
#include "Outcome.h"
#include "ProgramName.h"
#include "StandardOutput.h"
#include "Utf8Arguments.h"

namespace lumtools {

using LumConfCluster::ClusterCliHandler;

namespace {

int Process() {
    int code = kFailed;
    const Outcome outcome = Attempt([&code] { code = ClusterCliHandler().Process(); });
    if (outcome.code == kDone) return code;
    PrintFailure(std::cerr, "", outcome);
    return kFailed;
}

}  // namespace

int RunClusterTool(const char* name, int argc, char** argv) {
    SetProgramName(name);
    OccupyStandardStreams();
    if (!AreArgumentsUtf8(name, argc, argv)) return kWrongUsage;
    LumPalRuntime::App_t::Init(argc, argv);
    const int code = Process();
    if (code == ClusterCliHandler::VersionWanted) std::printf("%s %s\n", name, LUM_VERSION);
    if (!WasOutputClosed() && std::fflush(stdout) == 0 && !std::ferror(stdout)) return code;
    std::cerr << name << ": standard output cannot be written\n";
    return kFailed;
}

}  // namespace lumtools
