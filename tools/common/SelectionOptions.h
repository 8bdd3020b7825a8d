/// @file
/// The options that say which policies a command means.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "Selection.h"

namespace lumtools {

/// --id, --name, --type, --owner, --category, --attribute, --all, and the pairs that combine: name with type,
/// owner with name.
class SelectionOptions {
public:
    /// Demand::Yes: a command that changes something is given no selection by default.
    enum class Demand { No, Yes };
    void AddTo(CLI::App& command, Demand demand);
    /// @throws CLI::ValidationError for options that do not combine;
    ///         LumPalMsg::IllegalArgumentError_t for a text that no selection can hold
    LumConf::Selection Make() const;
    /// Whether any of the options was given.
    bool IsGiven() const;

private:
    int Given() const;

    std::string id, name, type, owner, category, attribute;
    bool all = false;
    Demand demand = Demand::No;
};

}  // namespace lumtools
