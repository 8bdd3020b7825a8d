/// @file
/// The options that say which policies a command means.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "common/Selections.h"

namespace lumtools {

/// --id, --name, --type, --owner, --category, --attribute and --all. Those that are given must all hold; --all holds of
/// every policy.
class SelectionOptions {
public:
    /// Demand::Yes: a command that changes something is given no selection by default.
    enum class Demand { No, Yes };
    void AddTo(CLI::App& command, Demand demand);
    /// @throws CLI::ValidationError when one is demanded and none given;
    ///         LumPalMsg::IllegalArgumentError_t for a text that no selection can hold
    Selections Make() const;
    /// Whether any of the options was given.
    bool IsGiven() const;
    /// Whether any of them was given that leaves policies out.
    bool IsNarrow() const;

private:
    std::string id, name, type, owner, category, attribute;
    bool all = false;
    Demand demand = Demand::No;
};

}  // namespace lumtools
