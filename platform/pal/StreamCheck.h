/// @file
/// The check that every stream makes before it works.
#pragma once

namespace LumPalIo {

/// @throws IOException_t unless isOpen
void CheckOpen(bool isOpen);

}  // namespace LumPalIo
