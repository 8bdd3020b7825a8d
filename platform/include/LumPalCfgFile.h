/// @file
/// The text form of a configuration group.
///
/// UTF-8 lines; LF or CR LF ends one, blanks and tabs at its ends and around names and values do not count.
/// "# ..." is a comment, "[namespace]" begins a namespace, "name=value" is an attribute of it; of attributes with
/// the same name the last one counts. Escapes: \\ \n \r \t \s (blank) \= \[ \# and \uXXXX (a UTF-16 unit).
/// Names are not empty and hold no control characters, values hold anything.
#pragma once

#include <cstddef>
#include <vector>

#include "LumPalConfig.h"
#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"

namespace LumPalCfgFile {

/// A line that is no comment, no "[namespace]" and no "name=value"; the text names file and line.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SyntaxException_t, LumPalMsg::RuntimeException_t);

/// A line that Load refuses.
struct BadLine_t {
    unsigned long line = 0;        ///< from 1
    unsigned long column = 0;      ///< of its first character that is no blank, from 1
    LumPalMsg::Message_t message;  ///< names the place and the source too
};

class LUMPAL_API ConfigReader_t {
public:
    /// Adds what the stream holds to the group.
    /// @param source  how errors name the stream (a path)
    /// @throws SyntaxException_t; LumPalIo::IOException_t for more than 64 MiB, and what the stream throws
    static void Load(LumPalIo::InputStream_t stream, LumPalConfig::ConfigGroup_t& group,
                     const LumPalStr::String_t& source = LumPalStr::String_t());
    /// All lines that Load would refuse, in their order, at most so many; if there are more, one without a place (0, 0)
    /// stands behind them and says so. What stands below a namespace that cannot be read is looked at as if it could.
    /// @param source  as for Load. @throws as Load, but for the lines
    static std::vector<BadLine_t> FindBadLines(LumPalIo::InputStream_t stream, std::size_t most,
                                               const LumPalStr::String_t& source = LumPalStr::String_t());
};

class LUMPAL_API ConfigWriter_t {
public:
    /// Writes the whole group; every value comes back unchanged by ConfigReader_t.
    static void Write(LumPalIo::OutputStream_t stream, const LumPalConfig::ConfigGroup_t& group);
};

}  // namespace LumPalCfgFile
