/// @file
/// What a test makes an XML writer write.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "LumPalXml.h"

namespace xmlwriter {

using LumPalCodeset::Codeset_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

inline const std::string Declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

inline XmlWriter_t::Options_t Tight() {
    XmlWriter_t::Options_t options;
    return options.Encoding(Codeset_t("UTF-8")).Indent(0);
}

using Steps = std::function<void(XmlWriter_t&)>;

inline std::string Written(const Steps& steps, const XmlWriter_t::Options_t& options = Tight()) {
    CharArrayOutputStream_t stream;
    XmlWriter_t writer(stream, options);
    steps(writer);
    writer.Close();
    return std::string(stream.ToCharArray().View());
}

/// What the writer puts behind the declaration.
inline std::string Body(const Steps& steps) {
    const std::string document = Written(steps);
    EXPECT_EQ(document.substr(0, Declaration.size()), Declaration);
    return document.substr(Declaration.size());
}

inline std::string TextOf(const String_t& text) {
    return Body([&](XmlWriter_t& w) {
        w.OpenTag("a");
        w.Data(text);
    });
}

inline std::string ValueOf(const String_t& value) {
    return Body([&](XmlWriter_t& w) {
        w.OpenTag("a");
        w.Attribute("k", value);
    });
}

inline String_t Units(std::initializer_list<char16_t> units) {
    return {units.begin(), static_cast<std::uint32_t>(units.size())};
}

struct IllegalText {
    const char* says;
    String_t text;
    String_t cleaned;
};

inline std::vector<IllegalText> IllegalTexts() {
    const char16_t bad = 0xFFFD;
    return {
        {"a NUL", Units({'a', 0, 'b'}), Units({'a', bad, 'b'})},
        {"a control", Units({0x1F}), Units({bad})},
        {"a vertical tab", Units({0x0B, 'x'}), Units({bad, 'x'})},
        {"a lead surrogate at the end", Units({'a', 0xD800}), Units({'a', bad})},
        {"a lead surrogate before a letter", Units({0xDBFF, 'a'}), Units({bad, 'a'})},
        {"a trail surrogate alone", Units({0xDC00}), Units({bad})},
        {"a pair the wrong way round", Units({0xDFFF, 0xD800}), Units({bad, bad})},
        {"two lead surrogates", Units({0xD83D, 0xD83D, 0xDE00}), Units({bad, 0xD83D, 0xDE00})},
        {"U+FFFE", Units({0xFFFE}), Units({bad})},
        {"U+FFFF", Units({'a', 0xFFFF}), Units({'a', bad})},
    };
}

}  // namespace xmlwriter
