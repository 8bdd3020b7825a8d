/// @file
/// Runs a policy document through a handler.
#pragma once

#include "LumPalIo.h"

namespace LumConf {

class PolicyXmlHandler;

class PolicyXmlParser {
public:
    /// Parses what the stream holds; a null stream is not parsed. A document of which a text would be missing, because
    /// it refers to an entity that is not read, is refused as a malformed one. Failures of parser and handler pass
    /// unchanged: SAXParseException_t, PolicyHeaderException, IllegalStateError_t XmlHandlerNotInitialized,
    /// IllegalArgumentError_t AttributeEmpty, AttributeWithBadText.
    static void Parse(const LumPalIo::InputStream_t& stream, PolicyXmlHandler& handler);
    /// Parses a file.
    /// @throws PolicyHeaderException XmlParseError (malformed, with the place) and XmlReadError (any other failure, the
    ///         handler's too); LumPalIo::FileNotFoundException_t XmlFileNotFound. The cause stands in the details.
    static void Parse(const LumPalIo::File_t& file, PolicyXmlHandler& handler);
};

}  // namespace LumConf
