/// @file
/// The options of an install.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "InstallOptions.h"

namespace lumpolicy {

/// Every choice of an install.
struct InstallChoices {
    bool noNotify = false, enable = false, disable = false, forceState = false, checkVersion = false;
    bool removeAllCategories = false, removeAllAttributes = false, removeOwner = false;
    bool force = false, forceOwner = false, forceCategories = false, forceAttributes = false, closeConnection = false;
    std::string owner, targetId;
    std::vector<std::string> addCategories, removeCategories, addAttributes, removeAttributes;

    void AddTo(CLI::App& command);
    /// @throws LumPalMsg::IllegalArgumentError_t for an attribute that none can be
    LumConf::InstallOptions Make() const;
};

}  // namespace lumpolicy
