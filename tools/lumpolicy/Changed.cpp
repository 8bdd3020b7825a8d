#include "lumpolicy/Changed.h"

namespace lumpolicy {

nlohmann::ordered_json WasChanged(const lumtools::Outcome& outcome) {
    if (outcome.code == lumtools::kUnreachable && !outcome.isUnanswered) return false;
    switch (outcome.code) {
        case lumtools::kDone:
        case lumtools::kUntold:
            return true;
        case lumtools::kWrongUsage:
        case lumtools::kNothingToDo:
        case lumtools::kNotFound:
        case lumtools::kRefused:
            return false;
        default:
            return nullptr;  // some may be done, or an answer lacks
    }
}

void JoinChanged(const nlohmann::ordered_json& part, nlohmann::ordered_json& whole) {
    if (part == true || (part.is_null() && whole != true)) whole = part;
}

}  // namespace lumpolicy
