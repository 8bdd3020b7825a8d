/// @file
/// Names in one text.
#pragma once

#include <set>
#include <string>

#include "LumPalStr.h"

namespace LumConfCluster {

/// Names one behind the other, each closed by a marker, which also opens the text. What occurs in the text counts as
/// known: so the end of a name in the list is a name in the list too. One thread.
class MarkedNames {
public:
    /// A text that no name is expected to hold.
    static constexpr const char* kMarker = "~@$#%~";

    void Add(const LumPalStr::String_t& name);
    /// Whether the name, closed by the marker, occurs. Reads the whole text only where names hold units of the marker.
    bool Holds(const LumPalStr::String_t& name) const;
    /// Whether the text occurs anywhere, inside a name too. Reads the whole list.
    bool Occurs(const LumPalStr::String_t& part) const { return text.Find(part) != LumPalStr::NotFound; }
    bool IsEmpty() const { return text.GetLength() <= LumPalStr::String_t(kMarker).GetLength(); }
    /// The names with commas between them and a blank at either end.
    LumPalStr::String_t Listed() const;

private:
    LumPalStr::String_t text = kMarker;
    std::set<std::u16string> reversed;  ///< the names from their ends: ends of names are beginnings here
    bool isEachPlain = true;            ///< none holds a unit of the marker, so that markers stand only between names
};

}  // namespace LumConfCluster
