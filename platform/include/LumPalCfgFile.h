/// @file
/// The text form of a configuration group.
#pragma once

#include "LumPalConfig.h"
#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"

namespace LumPalCfgFile {

/// A line that is no comment, no "[namespace]" and no "name=value"; the text names file and line.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SyntaxException_t, LumPalMsg::RuntimeException_t);

class LUMPAL_API ConfigReader_t {
public:
    /// Adds what the stream holds to the group.
    /// @param source  how errors name the stream (a path)
    static void Load(LumPalIo::InputStream_t stream, LumPalConfig::ConfigGroup_t& group,
                     const LumPalStr::String_t& source = LumPalStr::String_t());
};

class LUMPAL_API ConfigWriter_t {
public:
    /// Writes the whole group; every value comes back unchanged by ConfigReader_t.
    static void Write(LumPalIo::OutputStream_t stream, const LumPalConfig::ConfigGroup_t& group);
};

}  // namespace LumPalCfgFile
