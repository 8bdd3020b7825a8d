#include "common/TimeSpan.h"

#include <algorithm>
#include <iterator>

#include "common/Counted.h"

namespace lumtools {

std::string SpanText(std::int64_t seconds) {
    constexpr struct {
        std::int64_t seconds;
        const char* name;
    } units[] = {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
    const std::int64_t span = std::max<std::int64_t>(seconds, 0);
    const auto* unit = std::find_if(std::begin(units), std::end(units) - 1,
                                    [span](const auto& candidate) { return span >= candidate.seconds; });
    return Counted(static_cast<std::uint64_t>(span / unit->seconds), unit->name);
}

std::string EndText(std::int64_t secondsLeft) {
    return secondsLeft > 0 ? "ends in " + SpanText(secondsLeft) : "ENDED " + SpanText(-secondsLeft) + " ago";
}

}  // namespace lumtools
