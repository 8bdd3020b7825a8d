/// @file
/// Messages laid out for a terminal, and the version of the library on another node.
#pragma once

#include "Export.h"
#include "LumPalStr.h"

namespace LumConf {

/// Static functions alone. Any thread.
class LUMCONF_API Utils {
public:
    /// Kinds of output; any other number gives the bullet of a list.
    enum MsgType : int { Info = 0, Note = 1, Warning = 2, Error = 3, Bullet = 4 };

    Utils() = delete;

    /// The text behind the label of its kind. @see FormatOutput
    static LumPalStr::String_t FormatStdOutput(const LumPalStr::String_t& text, int indent, int width, MsgType type);

    /// The label in the left margin, and the text behind an indent, broken behind blanks and some other characters
    /// (those of paths and brackets). Nothing is trimmed; a word longer than a line is cut. With fewer than ten columns
    /// for the text the output ends where such a word meets a full line: give it more.
    /// @param indent  columns before the text; a label that reaches it stands on a line of its own
    /// @param width   columns of a line; measured in UTF-16 units
    static LumPalStr::String_t FormatOutput(const LumPalStr::String_t& label, const LumPalStr::String_t& text,
                                            int indent, int width);

    /// Asks a node for the version of its library. Blocks: one call over the network.
    /// @return empty when the node's inventory does not have it
    /// @throws what LumDepl::Node::GetInventory throws
    static LumPalStr::String_t GetVersion(const LumPalStr::String_t& host);
    /// The version in an inventory, as GetVersion finds it.
    static LumPalStr::String_t FindVersion(const LumPalStr::String_t& inventory);
};

}  // namespace LumConf
