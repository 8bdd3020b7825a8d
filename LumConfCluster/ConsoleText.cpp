// ClusterUtil: lines for the console.
#include <algorithm>

#include "LumConfCluster/ClusterUtil.h"
#include "Messages.h"

namespace LumConfCluster {

using LumPalStr::String_t;
using MsgType = ClusterUtil::MsgType;

namespace {

using Column = std::uint32_t;

String_t PrefixOf(MsgType type) {
    const LumConf::MessageRow* const rows[] = {&LumConf::msg::LabelInfo, &LumConf::msg::LabelNote,
                                               &LumConf::msg::LabelWarning, &LumConf::msg::LabelError};
    const auto index = static_cast<std::uint32_t>(type);
    return index < std::size(rows) ? LumConf::MakeUnchecked(*rows[index]).GetMessageText() : String_t();
}

String_t Blanks(Column count) {
    String_t blanks;
    for (; count > 0; --count) blanks += ' ';
    return blanks;
}

/// The lines so far, and where the next word goes.
class Wrapping {
public:
    Wrapping(Column indent, Column width, const String_t& prefix)
        : indent(indent), width(std::max(width, indent + 1)), margin(Blanks(indent)), output(prefix) {
        if (output.GetLength() < indent) output += Blanks(indent - output.GetLength());
        column = output.GetLength();
    }
    void Take(String_t word) {
        if (column == 0 && word.IsNotEmpty()) ToMargin();
        if (column > indent) Append(" ");
        while (word.GetLength() >= width - indent) {
            const Column fits = std::min(word.GetLength(), width - std::min(column, width));
            Append(word.Left(fits));
            EndLine();
            word = word.Mid(fits);
            if (word.IsNotEmpty()) ToMargin();
        }
        if (word.GetLength() + column >= width) NextLine();
        Append(word);
    }
    void EndLine() {
        output += '\n';
        column = 0;
    }
    const String_t& Output() const { return output; }

private:
    void Append(const String_t& text) {
        output += text;
        column += text.GetLength();
    }
    void ToMargin() {
        output += margin;
        column = indent;
    }
    void NextLine() {
        EndLine();
        ToMargin();
    }

    const Column indent, width;
    const String_t margin;
    String_t output;
    Column column = 0;
};

}  // namespace

String_t ClusterUtil::FormatOutputString(const String_t& input, std::int32_t indent, std::int32_t maxWidth,
                                         MsgType type) {
    Wrapping lines(static_cast<Column>(std::max(indent, 0)), static_cast<Column>(std::max(maxWidth, 0)),
                   PrefixOf(type));
    for (std::uint32_t start = 0; start < input.GetLength();) {
        const std::uint32_t end = std::min(input.FindOneOf(" \n", start), input.GetLength());
        lines.Take(input.Mid(start, end));
        if (end < input.GetLength() && input.GetAt(end) == '\n') lines.EndLine();
        start = end + 1;
    }
    return lines.Output();
}

}  // namespace LumConfCluster
