// Patterns where there are no clusters that have them.
#include "LumPalPattern.h"

namespace LumPalPattern {

std::optional<bool> IsFound(const LumPalStr::String_t&, const LumPalStr::String_t&) {
    return {};
}

}  // namespace LumPalPattern
