#include "common/Nearest.h"

#include <algorithm>

namespace lumtools {

namespace {

constexpr std::size_t kLongestTyped = 64;  // what is longer is no slip
constexpr std::size_t kShortestCut = 3;

/// How many characters have to be put in, taken out, changed, or to change places with the next one.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> least(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                least[i][j] = i + j;
                continue;
            }
            const std::size_t changed = least[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            least[i][j] = std::min({changed, least[i - 1][j] + 1, least[i][j - 1] + 1});
            const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isSwapped) least[i][j] = std::min(least[i][j], least[i - 2][j - 2] + 1);
        }
    }
    return least[a.size()][b.size()];
}

/// A word that is cut short, where it can be no other.
std::string OnlyOneBegunBy(const std::string& typed, const std::vector<std::string>& words) {
    const auto isBegun = [&typed](const std::string& word) { return word.starts_with(typed); };
    if (typed.size() < kShortestCut || std::count_if(words.begin(), words.end(), isBegun) != 1) return "";
    return *std::find_if(words.begin(), words.end(), isBegun);
}

}  // namespace

std::string NearestOf(const std::string& typed, const std::vector<std::string>& words) {
    if (typed.size() > kLongestTyped) return "";
    if (const std::string begun = OnlyOneBegunBy(typed, words); !begun.empty()) return begun;
    std::string nearest;
    std::size_t least = std::max<std::size_t>(typed.size() / 3, 1) + 1;
    for (const std::string& word : words) {
        const std::size_t distance = Distance(typed, word);
        if (distance >= least) continue;
        least = distance;
        nearest = word;
    }
    return nearest;
}

std::string Suggestion(const std::string& typed, const std::vector<std::string>& words) {
    const std::string nearest = NearestOf(typed, words);
    return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

}  // namespace lumtools
