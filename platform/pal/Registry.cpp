// LumPalRegistry.h: what is the same everywhere.
#include "LumPalRegistry.h"

namespace LumPalRegistry {

Key_i::~Key_i() = default;
Registry_i::~Registry_i() = default;

}  // namespace LumPalRegistry
