#include "common/Said.h"

#include <iostream>
#include <sstream>

#include "common/ProgramName.h"

namespace lumtools {

void Say(LumPalConsole::Priority priority, const std::string& text) {
    std::istringstream lines(std::string(ProgramName()) + ": " + text);
    std::string said;
    for (std::string line; std::getline(lines, line);)
        said.append(LumPalConsole::JournalMark(priority)).append(line) += '\n';
    std::cerr << said << std::flush;
}

}  // namespace lumtools
