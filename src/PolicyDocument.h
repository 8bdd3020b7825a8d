/// @file
/// The elements of a policy document, as a table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "LumPalStr.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

class PolicyXmlHandler;

namespace document {

struct Table;

/// The known elements, in the order of the table.
enum class Element : std::uint8_t {
    Header,
    Policy,
    Ids,
    ContainerId,
    VersionId,
    Name,
    Version,
    Description,
    Status,
    Owner,
    Files,
    Data,
    FileName,
    Encoding,
    Checksum,
    Signature,
    Categories,
    Category,
    Attributes,
    Attribute,
    AttributeName,
    AttributeValue,
    PolicyType,
    TypeId,
    TypeVersion,
    TypeName,
    Certificate,
    None  ///< outside of the root, and no known element
};
inline constexpr std::size_t kElementCount = static_cast<std::size_t>(Element::None);

/// What an element holds and how a rewrite treats it.
enum class Kind : std::uint8_t {
    Structure,        ///< elements; copied by a rewrite
    Field,            ///< a text of the header; a rewrite writes the source's text
    RegeneratedText,  ///< a text that belongs to a list; a rewrite drops it and writes the source's whole list
    RegeneratedGroup  ///< elements that belong to a list; likewise
};

/// One known element: it counts only at its path.
struct Row {
    using Setter = void (PolicyHeaderImpl::*)(const LumPalStr::String_t&);
    using Field = LumPalStr::String_t PolicyRecord::*;
    using Step = void (PolicyXmlHandler::*)();

    std::u16string_view path;
    Kind kind;
    Setter set = nullptr;            ///< Field: stores the text into the header being built
    Field field = nullptr;           ///< Field: where the source holds it
    Step atReadEnd = nullptr;        ///< what else the end tag does when reading
    Step atRewriteEnd = nullptr;     ///< what else the end tag does when rewriting
    Element parent = Element::None;  ///< worked out from the path
    std::u16string_view tag = {};    ///< worked out from the path
};

/// The row of a known element. @param element  not None
const Row& RowOf(Element element) noexcept;
/// The known element of that tag directly inside the parent (None: the root), or None.
Element FindChild(Element parent, std::u16string_view tag) noexcept;

}  // namespace document
}  // namespace LumConf
