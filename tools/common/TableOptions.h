/// @file
/// The options by which users choose how a table is shown.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "common/Table.h"

namespace lumtools {

/// Adds -o FORM, --output FORM: one of these words, described by the text.
CLI::Option* AddForms(CLI::App& command, std::string& form, const std::vector<std::string>& forms,
                      const std::string& text);

/// Of a command with one table: -o (table, wide or json) and --no-headers.
class TableOptions {
public:
    /// @param json  set when the form is json; must live as long as the command
    void AddTo(CLI::App& command, bool& json);
    /// As TableLayout::ForOutput, but for what was chosen.
    TableLayout GetLayout() const;

protected:
    void AddTo(CLI::App& command, bool& json, const std::vector<std::string>& forms, const std::string& text);

    std::string form = "table";

private:
    bool noHeaders = false;
};

}  // namespace lumtools
