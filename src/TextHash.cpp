#include "TextHash.h"

#include <cstring>
#include <random>
#include <string_view>

namespace LumConf {

using LumPalStr::String_t;

namespace {

// A text is a polynomial with a few units in each coefficient, and its hash the value at a point that is drawn by lot,
// modulo a prime. Two texts of n coefficients have the same at n points at most of all that there are, whatever they
// hold; one that nobody outside knows makes that rare for texts of any choice.
constexpr int kBits = 61;
constexpr std::uint64_t kPrime = (std::uint64_t{1} << kBits) - 1;
constexpr std::size_t kUnits = 3;  // of 16 bits each: a coefficient is below the prime

std::uint64_t Point() {
    static const std::uint64_t point = [] {
        std::random_device device;
        return std::uniform_int_distribution<std::uint64_t>(kPrime / 2, kPrime - 1)(device);
    }();
    return point;
}

std::uint64_t Step(std::uint64_t hash, std::uint64_t coefficient, std::uint64_t point) noexcept {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{hash} * point + coefficient;
    const std::uint64_t sum =
        static_cast<std::uint64_t>(product & kPrime) + static_cast<std::uint64_t>(product >> kBits);
    return sum >= kPrime ? sum - kPrime : sum;
}

/// The length at the end tells texts apart that differ in units of 0 there alone.
std::uint64_t Add(std::uint64_t hash, std::u16string_view text, std::uint64_t point) noexcept {
    const std::uint64_t length = text.size();
    while (!text.empty()) {
        const std::size_t count = text.size() < kUnits ? text.size() : kUnits;
        std::uint64_t coefficient = 0;
        std::memcpy(&coefficient, text.data(), count * sizeof(char16_t));
        hash = Step(hash, coefficient, point);
        text.remove_prefix(count);
    }
    return Step(hash, length, point);
}

}  // namespace

std::uint32_t HashOf(const String_t& text) {
    return static_cast<std::uint32_t>(Add(0, text.View(), Point()));
}

std::uint32_t HashOf(const TextPair& pair) {
    const std::uint64_t point = Point();
    return static_cast<std::uint32_t>(Add(Add(0, pair.first.View(), point), pair.second.View(), point));
}

}  // namespace LumConf
