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
    /// @param otherwise  what any other word means
    explicit StateWords(std::span<const Row> rows, State otherwise = State::Unknown) : otherwise(otherwise) {
        for (const auto& [word, state] : rows) states.emplace(word, state);
    }
    State Of(const LumPalStr::String_t& word) const {
        const auto found = states.find(word);
        return found == states.end() ? otherwise : found->second;
    }

private:
    State otherwise = State::Unknown;
    std::map<LumPalStr::String_t, State> states;
};

}  // namespace LumConfCluster
