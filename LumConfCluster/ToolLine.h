/// @file
/// A line that runs a product's tool.
#pragma once

#include <vector>

#include "LumPalStr.h"
#include "ToolRun.h"

namespace LumConfCluster {

/// Built word by word, then run: ToolLine(tool).Words("-state").Name(node).GetOut(). A value; any thread.
class ToolLine {
public:
    /// @param tool  the beginning of the line: the program, in double quotes
    explicit ToolLine(const LumPalStr::String_t& tool) : line(tool) {}
    /// Adds words of the product, with blanks between them.
    ToolLine& Words(const char* words);
    /// Adds a name as one word, whatever it holds.
    /// @throws LumConf::ClusterException ToolFailed for a name that could be taken for something else: one with a
    /// double quote
    ///         or a control character, or with "-" at its beginning. As if the tool had failed
    ToolLine& Name(const LumPalStr::String_t& name);
    /// Adds a name and an option that it stands right behind, as "--service=", as one word. @throws as Name
    ToolLine& NameBehind(const char* option, const LumPalStr::String_t& name);
    const LumPalStr::String_t& Text() const noexcept { return line; }
    /// See ClusterUtil.
    LumPalStr::String_t GetOut() const;
    std::vector<LumPalStr::String_t> GetOutColl() const;
    /// As GetOutColl, but for a tool that tells of its failures itself: each exit code is taken.
    ToolEnd GetEnd() const;

private:
    LumPalStr::String_t line;
};

}  // namespace LumConfCluster
