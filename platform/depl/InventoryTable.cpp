// The rows of Inventory.h.
#include <algorithm>
#include <array>

#include "Inventory.h"

namespace LumDepl {
namespace {

struct Row {
    const char *name, *version, *description;
};

constexpr Row kHeadings{"NAME", "VERSION", "DESCRIPTION"};
constexpr std::array kPackages{Row{"TesselLumConf", kPackageVersion, "Configuration of the node by policies"}};
// Kept: who looks for a package begins 20 units behind the word VERSION, in what must still be the first line.
constexpr std::size_t kNameColumn = 24, kVersionColumn = 24;

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size() + 1), ' ');
    return text;
}

std::string Line(const Row& row) {
    return Padded(row.name, kNameColumn) + Padded(row.version, kVersionColumn) + row.description + "\n";
}

}  // namespace

LumPalStr::String_t InventoryTable(const LumPalStr::String_t& objectType) {
    std::string table = Line(kHeadings);
    if (objectType == "package") {
        for (const Row& row : kPackages) table += Line(row);
    }
    return LumPalStr::String_t::FromUtf8(table);
}

}  // namespace LumDepl
