/// @file
/// Starting one program by posix_spawn(3).
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Descriptor_posix.h"
#include "LumPalCmd.h"

namespace LumPalCmd {

/// What is to be started, and how.
struct SpawnPlan {
    std::vector<std::string> words;
    bool searchPath = true;
    std::array<Mode_e, 3> modes{Inherit, Inherit, Inherit};
    std::map<std::string, std::string> environment;
    std::uint32_t limitMs = 0;
    bool endsOnStop = false;
    bool endsWithParent = false;
    bool leadsGroup = false;  ///< a process group of its own
};

/// What was started: its id, a descriptor that becomes readable when it ends, and our ends of the
/// pipes (the output ends don't block).
struct Spawned {
    pid_t pid = 0;
    LumPal::Descriptor end;
    std::array<LumPal::Descriptor, 3> pipes;
};

/// @throws LumPalIo::FileNotFoundException_t, LumPalIo::IOException_t
Spawned Spawn(const SpawnPlan& plan);

}  // namespace LumPalCmd
