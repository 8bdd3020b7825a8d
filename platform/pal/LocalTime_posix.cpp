#include "LocalTime.h"

#include <cstdio>
#include <ctime>

namespace LumPal {

std::string LocalTimeText(std::chrono::system_clock::time_point moment) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(moment);
    const auto ms = std::chrono::floor<std::chrono::milliseconds>(moment - whole).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm local{};
    localtime_r(&seconds, &local);
    char date[48];
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    const long offset = local.tm_gmtoff / 60;
    const long minutes = offset < 0 ? -offset : offset;
    char rest[32];
    std::snprintf(rest, sizeof rest, ".%03d%c%02ld:%02ld", static_cast<int>(ms), offset < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return std::string(date, length) + rest;
}

}  // namespace LumPal
