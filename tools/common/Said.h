/// @file
/// What a program says on standard error, for people and for the journal.
#pragma once

#include <string>

#include "LumPalConsole.h"

namespace lumtools {

/// Says it behind the program's name, at once. Each of its lines bears its priority where the journal reads (as
/// LumPalConsole::JournalMark). Any thread; lines of several may mix.
void Say(LumPalConsole::Priority priority, const std::string& text);

}  // namespace lumtools
