#include "LumPalCfgFile.h"

#include <string>
#include <string_view>
#include <vector>

#include "CfgText.h"
#include "ConfigValues.h"

namespace LumPalCfgFile {

LUMPAL_DEFINE_EXCEPTION(SyntaxException_t);

namespace {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

constexpr std::size_t BlockSize = 65536;
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

String_t ToString(std::u16string_view text) {
    return {text.data(), static_cast<std::uint32_t>(text.size())};
}

std::string ReadAll(LumPalIo::InputStream_t& stream) {
    std::string bytes;
    LumPalArray::CharArray_t block(BlockSize);
    for (std::int64_t count; (count = stream.Read(block)) >= 0;) {
        bytes.append(block.GetData(), static_cast<std::size_t>(count));
    }
    return bytes;
}

bool IsAscii(std::string_view text) noexcept {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

/// Reads lines into a group of its own, so that a bad line leaves the caller's group as it was.
class Parser {
public:
    explicit Parser(const String_t& source) : source(source) {}
    void Parse(std::string_view text);
    const ConfigGroup_t& GetGroup() const noexcept { return group; }

private:
    [[noreturn]] void Fail(const char* reason) const;
    void ParseLine(std::string_view bytes);
    void ParseNamespace(std::u16string_view text);
    void ParseAttribute(std::u16string_view text);
    String_t Name(std::u16string_view text) const;

    const String_t& source;
    unsigned long lineNumber = 0;
    bool hasNamespace = false;
    Configuration_t current;
    ConfigGroup_t group;
};

void Parser::Fail(const char* reason) const {
    const String_t name = source.IsEmpty() ? String_t("the configuration") : source;
    // The line itself is not shown: what it holds may be a secret.
    throw SyntaxException_t(LumPalMsg::CreateError_t("Line %1 of '%2' %3.")
                            << LumPalStr::NumToStr(lineNumber) << name << reason);
}

void Parser::Parse(std::string_view text) {
    if (text.substr(0, ByteOrderMark.size()) == ByteOrderMark) text.remove_prefix(ByteOrderMark.size());
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        ++lineNumber;
        ParseLine(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
}

void Parser::ParseLine(std::string_view bytes) {
    if (!bytes.empty() && bytes.back() == '\r') bytes.remove_suffix(1);
    const String_t line = String_t::FromUtf8(bytes);
    if (!IsAscii(bytes) && line.ToUtf8() != bytes) Fail("is not UTF-8");
    const std::u16string_view text = TrimBlanks(line.View());
    if (text.empty() || text.front() == u'#') return;
    if (text.front() == u'[')
        ParseNamespace(text);
    else
        ParseAttribute(text);
}

String_t Parser::Name(std::u16string_view text) const {
    std::u16string name;
    if (!Unescape(TrimBlanks(text), name)) Fail("has an escape that is not known");
    if (!IsName(name)) Fail("has no usable name");
    return ToString(name);
}

void Parser::ParseNamespace(std::u16string_view text) {
    if (text.back() != u']') Fail("begins with '[' but does not end with ']'");
    current = group.GetConfig(Name(text.substr(1, text.size() - 2)));
    hasNamespace = true;
}

void Parser::ParseAttribute(std::u16string_view text) {
    const std::size_t equals = FindEquals(text);
    if (equals == std::u16string_view::npos) Fail("is no comment, no '[namespace]' and no 'name=value'");
    if (!hasNamespace) Fail("stands before the first '[namespace]'");
    const String_t name = Name(text.substr(0, equals));
    std::u16string value;
    if (!Unescape(TrimBlanks(text.substr(equals + 1)), value)) Fail("has an escape that is not known");
    current.SetAttrValue(name, ToString(value));
}

void AppendConfig(std::u16string& text, const Configuration_t& config) {
    CheckName(config.GetNamespace());
    if (!text.empty()) text += u'\n';
    text += u'[' + EscapeName(config.GetNamespace().View()) + u"]\n";
    String_t name, value;
    for (int i = 0; config.GetAttr(i, name, value); ++i) {
        CheckName(name);
        text += EscapeName(name.View()) + u'=' + EscapeValue(value.View()) + u'\n';
    }
}

}  // namespace

void ConfigReader_t::Load(LumPalIo::InputStream_t stream, ConfigGroup_t& group, const String_t& source) {
    const std::string text = ReadAll(stream);
    Parser parser(source);
    parser.Parse(text);
    SetAll(parser.GetGroup(), group);
}

void ConfigWriter_t::Write(LumPalIo::OutputStream_t stream, const ConfigGroup_t& group) {
    std::u16string text;
    for (int i = 0; i < group.GetConfigCount(); ++i) AppendConfig(text, group.GetConfig(i));
    const std::string bytes = ToString(text).ToUtf8();
    stream.Write(bytes.data(), bytes.size());
}

}  // namespace LumPalCfgFile
