#include "common/TimeSpan.h"

#include <algorithm>

namespace lumtools {

std::string SpanText(std::int64_t seconds) {
    constexpr struct {
        std::int64_t seconds;
        const char* name;
    } units[] = {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
    const std::int64_t span = std::max<std::int64_t>(seconds, 0);
    const auto* unit = std::find_if(std::begin(units), std::end(units) - 1,
                                    [span](const auto& candidate) { return span >= candidate.seconds; });
    const std::int64_t count = span / unit->seconds;
    return std::to_string(count) + " " + unit->name + (count == 1 ? "" : "s");
}

std::string EndText(std::int64_t secondsLeft) {
    return secondsLeft > 0 ? "ends in " + SpanText(secondsLeft) : "ENDED " + SpanText(-secondsLeft) + " ago";
}

}  // namespace lumtools
