#include "common/ListOptions.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace lumtools {

std::vector<std::string> ListColumns::SortKeys() const {
    std::vector<std::string> keys = headings;
    for (std::string& key : keys) {
        std::transform(key.begin(), key.end(), key.begin(),
                       [](unsigned char c) { return c == ' ' ? '-' : static_cast<char>(std::tolower(c)); });
    }
    return keys;
}

void ListOptions::AddTo(CLI::App& command, bool& json, const ListColumns& shown) {
    columns = &shown;
    TableOptions::AddTo(command, json, {"table", "wide", "name", "json"},
                        "table, wide (whole), name (names alone), or json");
    command.add_option("--sort-by", sortBy, "By this column of the table")
        ->type_name("KEY")
        ->check(CLI::IsMember(shown.SortKeys()));
}

std::string ListOptions::TextOf(Table table) const {
    if (!sortBy.empty()) {
        const std::vector<std::string> keys = columns->SortKeys();
        table.SortBy(static_cast<std::size_t>(std::find(keys.begin(), keys.end(), sortBy) - keys.begin()));
    }
    if (form == "name") return table.LinesOf(columns->names);
    std::ostringstream text;
    table.Print(text, GetLayout());
    return text.str();
}

}  // namespace lumtools
