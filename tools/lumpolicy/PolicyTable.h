/// @file
/// Lists of policies in columns.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace lumpolicy {

/// How a list is shown.
struct ListForm {
    enum class Kind { Table, Wide, Name };
    Kind kind = Kind::Table;
    std::string sortBy;  ///< a word of SortKeys; empty: by type, name and id
    bool hasHeader = true;
    bool hasHosts = false;  ///< whether each line begins with its node
};

/// What one node has listed: its policies, as ToJson makes them.
using ListedNode = std::pair<std::string, nlohmann::ordered_json>;

/// The words by which a list can be sorted.
std::vector<std::string> SortKeys();

/// Sorts policies; those that are equal in it by type, name and id. @param policies  an array
/// @param sortBy  a word of SortKeys; empty: by type, name and id
void Sort(nlohmann::ordered_json& policies, const std::string& sortBy);

/// One line a policy: in columns that fit standard output, in all columns whole, or its type and name alone. The nodes
/// stay in their order, unless the list is sorted by a key.
std::string ListText(const std::vector<ListedNode>& nodes, const ListForm& form);

}  // namespace lumpolicy
