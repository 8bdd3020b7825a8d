#include "common/StandardOutput.h"

#include <filesystem>
#include <iostream>
#include <streambuf>

#include "LumPalConsole.h"
#include "common/ProgramName.h"

namespace lumtools {

namespace {

bool wasClosed = false;

/// Takes nothing: the first character that is printed fails.
class Closed : public std::streambuf {};

/// Systems that list the open files of a process here; elsewhere nothing is known.
bool IsOutputClosed() {
    std::error_code error;
    return std::filesystem::exists("/dev/fd", error) && !std::filesystem::exists("/dev/fd/1", error);
}

}  // namespace

void OccupyStandardStreams() {
    wasClosed = IsOutputClosed();
    LumPalConsole::OccupyStandardStreams();
    static Closed& closed = *new Closed;  // never destroyed: the library flushes the stream behind all destructors
    if (wasClosed) std::cout.rdbuf(&closed);
}

bool WasOutputClosed() noexcept {
    return wasClosed;
}

bool IsOutputWritten() {
    if (std::cout.flush()) return true;
    std::cerr << ProgramName() << ": standard output cannot be written\n";
    return false;
}

}  // namespace lumtools
