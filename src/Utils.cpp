#include "Utils.h"

#include <algorithm>
#include <cstdint>

#include "LumDepl.h"
#include "Messages.h"

namespace LumConf {

using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

constexpr char kBreaks[] = " }]>|/\\\n";

String_t Blanks(int count) {
    return String_t::FromUtf8(std::string(static_cast<std::size_t>(std::max(count, 0)), ' '));
}

/// The right end of the margin is the bullet.
String_t BulletLabel(int indent) {
    return indent > 1 ? Blanks(indent - 2) + "*" : String_t("");
}

String_t LabelOf(Utils::MsgType type, int indent) {
    switch (type) {
        case Utils::Info:
            return Make(msg::LabelInfo).Format(LumPalMsg::BareText);
        case Utils::Note:
            return Make(msg::LabelNote).Format(LumPalMsg::BareText);
        case Utils::Warning:
            return Make(msg::LabelWarning).Format(LumPalMsg::BareText);
        case Utils::Error:
            return Make(msg::LabelError).Format(LumPalMsg::BareText);
        default:
            return BulletLabel(indent);
    }
}

/// Lays the tokens of a text out behind its label.
class Layout {
public:
    Layout(const String_t& label, int indent, int width)
        : out(label), indent(indent), width(width), room(width - indent) {}

    String_t Lay(const String_t& text) {
        if (text.IsEmpty()) return out;
        EndLabel();
        for (std::uint32_t at = 0; at < text.GetLength();) {
            const String_t token = NextToken(text, at);
            if (token.IsEmpty()) break;  // kept: nothing is left of a line too narrow to begin a new one
            Append(token);
            at += token.GetLength();
        }
        return out;
    }

private:
    static int LengthOf(const String_t& text) { return static_cast<int>(text.GetLength()); }

    void EndLabel() {
        if (LengthOf(out) >= indent) {
            out += "\n";
        } else {
            out += Blanks(indent - LengthOf(out));
            column = indent;
        }
    }

    /// Up to and with the next character to break behind; a token that fits no line is cut to what is left of this
    /// one, unless that is hardly anything.
    String_t NextToken(const String_t& text, std::uint32_t at) {
        const std::uint32_t end = text.FindOneOf(kBreaks, at);
        const String_t token = text.Mid(at, end == NotFound ? NotFound : end + 1);
        if (LengthOf(token) <= room) return token;
        int available = width - column;
        if (available < room / 10) {
            out += "\n";
            available = room;
            column = 0;
        }
        // Less than nothing is left where the indent is wider than the line: then the text is not cut.
        return available < 0 ? text.Mid(at) : text.Mid(at, at + static_cast<std::uint32_t>(available));
    }

    void Append(const String_t& token) {
        if (column == 0 && indent != 0) {
            out += Blanks(indent);
            column = indent;
        }
        if (column + LengthOf(token) > width) {
            out += "\n" + Blanks(indent);
            column = indent;
        }
        out += token;
        column = token.LastChar() == u'\n' ? 0 : column + LengthOf(token);
    }

    String_t out;
    const int indent, width, room;
    int column = 0;
};

}  // namespace

String_t Utils::FormatStdOutput(const String_t& text, int indent, int width, MsgType type) {
    return FormatOutput(LabelOf(type, indent), text, indent, width);
}

String_t Utils::FormatOutput(const String_t& label, const String_t& text, int indent, int width) {
    return Layout(label, indent, width).Lay(text);
}

String_t Utils::GetVersion(const String_t& host) {
    return FindVersion(LumDepl::Node(host).GetInventory(LumDepl::NodeOptions().SetObjectType("package")));
}

String_t Utils::FindVersion(const String_t& inventory) {
    // The headings stand on the first line: where the word begins there is the column.
    const std::uint32_t column = inventory.Find("VERSION");
    if (column == NotFound) return "";
    const std::uint32_t before = inventory.Find("\nTesselLumConf ", column + 20);
    if (before == NotFound) return "";
    const std::uint32_t begin = before + 1, end = inventory.Find("\n", begin);
    const String_t line = inventory.Mid(begin, end);
    return line.Mid(column, line.Find(" ", column));
}

}  // namespace LumConf
