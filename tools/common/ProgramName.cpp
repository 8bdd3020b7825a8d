#include "common/ProgramName.h"

namespace lumtools {

namespace {

const char* programName = "";

}  // namespace

void SetProgramName(const char* name) noexcept {
    programName = name;
}

const char* ProgramName() noexcept {
    return programName;
}

}  // namespace lumtools
