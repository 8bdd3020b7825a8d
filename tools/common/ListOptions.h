/// @file
/// The options by which users choose how a list of things is shown.
#pragma once

#include <string>
#include <vector>

#include "common/TableOptions.h"

namespace lumtools {

/// The columns of a list.
struct ListColumns {
    std::vector<std::string> headings;
    std::vector<std::size_t> names;  ///< those by which other commands are told which of the things is meant

    /// By which the list can be sorted: the headings in small letters, with "-" for each blank.
    std::vector<std::string> SortKeys() const;
};

/// As TableOptions, and -o name and --sort-by.
class ListOptions : public TableOptions {
public:
    /// @param json, columns  must live as long as the command
    void AddTo(CLI::App& command, bool& json, const ListColumns& columns);
    /// As it was chosen; not for json.
    std::string TextOf(Table table) const;

private:
    const ListColumns* columns = nullptr;
    std::string sortBy;
};

}  // namespace lumtools
