/// @file
/// What a product calls the states.
#pragma once

#include <map>
#include <span>
#include <utility>

#include "LumPalStr.h"

namespace LumConfCluster {

/// A product's words for the states of one kind; they are compared exactly.
template <class State>
class StateWords {
public:
    using Row = std::pair<const char*, State>;
    StateWords() = default;
    explicit StateWords(std::span<const Row> rows) {
        for (const auto& [word, state] : rows) states.emplace(word, state);
    }
    /// Unknown for a word that is not there.
    State Of(const LumPalStr::String_t& word) const {
        const auto found = states.find(word);
        return found == states.end() ? State::Unknown : found->second;
    }

private:
    std::map<LumPalStr::String_t, State> states;
};

}  // namespace LumConfCluster
