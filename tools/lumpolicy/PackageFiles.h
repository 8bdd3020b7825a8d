/// @file
/// Which file of a package is the reason that it was not installed: the answer does not say it of each.
#pragma once

#include <string>
#include <vector>

#include "common/Command.h"

namespace lumpolicy {

/// Completes the answer of a package by the member "files", a row for each in their order. After a failure each file is
/// checked here as `validate` does it: what is wrong with one stands in its row and, below its name, in the messages.
/// An outcome that was not begun is that of a package that could not be made.
void TellPackage(const std::vector<std::string>& files, lumtools::Answer& answer);

}  // namespace lumpolicy
