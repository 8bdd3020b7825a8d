/// @file
/// Names of elements and attributes, converted once.
#pragma once

#include <array>
#include <string>

#include "LumPalStr.h"

namespace LumPalXml {

/// Parts separated in the expanded names that the parser passes; no XML text can hold it.
inline constexpr char NameSeparator = '\x01';

/// An expanded name. Uri is empty (not null) for a name in no namespace.
struct XmlName {
    LumPalStr::String_t uri, localName, qName;
};

/// Direct-mapped cache from expanded names, "uri SEP local SEP prefix" or shorter, to their parts.
/// Its size is fixed: a document with hostile names costs time for each, never memory. One thread.
class XmlNames {
public:
    /// The parts of the name; valid until the next call.
    const XmlName& Get(const char* expanded);
    /// Lets go of a name too long to be kept.
    void Trim() { overflow = Slot(); }

private:
    struct Slot {
        std::string key;
        XmlName name;
    };
    static constexpr std::size_t SlotCount = 128;
    void Fill(Slot& slot, std::string_view expanded);
    LumPalStr::String_t SharedUri(std::string_view uri);

    std::array<Slot, SlotCount> slots;
    Slot overflow;
    std::string lastUriKey;
    LumPalStr::String_t lastUri{u"", 0};
};

}  // namespace LumPalXml
