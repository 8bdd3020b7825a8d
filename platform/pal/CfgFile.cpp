// LumPalCfgFile.h: reading and writing settings files.
#include "LumPalCfgFile.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CfgText.h"
#include "LumPalWhole.h"
#include "PeekableStream.h"
#include "StringAscii.h"

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

/// What ends the reading of one line.
struct Refusal {
    const char* reason;
};

/// Reads lines into a group of its own, so that a bad line leaves the caller's group as it was.
class Parser {
public:
    /// @param take  called as take(number, bytes, reason) for a line that is refused; false ends the work
    template <class Take>
    void Parse(std::string_view text, Take take);
    ConfigGroup_t& GetGroup() noexcept { return group; }

private:
    [[noreturn]] static void Fail(const char* reason) { throw Refusal{reason}; }
    void SkipNamespace(std::string_view bytes);
    void Decode(std::string_view bytes);
    void ParseLine(std::string_view bytes);
    void ParseNamespace(std::u16string_view text);
    void ParseAttribute(std::u16string_view text);
    std::u16string_view Plain(std::u16string_view text);
    String_t Name(std::u16string_view text);

    unsigned long lineNumber = 0;
    std::u16string line, plain;  // used again for each line
    bool hasEscapes = false;     // the line
    std::optional<Configuration_t> current;
    ConfigGroup_t group;
};

constexpr std::string_view kBlanks = " \t";

/// The settings below a namespace that cannot be read are not those of the one before it.
void Parser::SkipNamespace(std::string_view bytes) {
    const std::size_t first = bytes.find_first_not_of(kBlanks);
    if (first != bytes.npos && bytes[first] == '[') current = Configuration_t(String_t("skipped"));
}

template <class Take>
void Parser::Parse(std::string_view text, Take take) {
    if (text.substr(0, ByteOrderMark.size()) == ByteOrderMark) text.remove_prefix(ByteOrderMark.size());
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view bytes = text.substr(0, end);
        ++lineNumber;
        try {
            ParseLine(bytes);
        } catch (const Refusal& refusal) {
            if (!take(lineNumber, bytes, refusal.reason)) return;
            SkipNamespace(bytes);
        }
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
}

void Parser::Decode(std::string_view bytes) {
    if (LumPalStr::Ascii::Prefix(bytes.data(), bytes.size()) == bytes.size()) {
        line.resize(bytes.size());
        LumPalStr::Ascii::Widen(line.data(), bytes.data(), bytes.size());
        return;
    }
    const String_t decoded = String_t::FromUtf8(bytes);
    if (decoded.ToUtf8() != bytes) Fail("is not UTF-8");
    line = decoded.View();
}

void Parser::ParseLine(std::string_view bytes) {
    if (!bytes.empty() && bytes.back() == '\r') bytes.remove_suffix(1);
    Decode(bytes);
    hasEscapes = bytes.find('\\') != std::string_view::npos;
    const std::u16string_view text = TrimBlanks(line);
    if (text.empty() || text.front() == u'#') return;
    if (text.front() == u'[')
        ParseNamespace(text);
    else
        ParseAttribute(text);
}

/// What stands for a name or a value, as long as no other one is looked at.
std::u16string_view Parser::Plain(std::u16string_view text) {
    const std::u16string_view trimmed = TrimBlanks(text);
    if (!hasEscapes) return trimmed;
    if (!Unescape(trimmed, plain)) Fail("has an escape that is not known");
    return plain;
}

String_t Parser::Name(std::u16string_view text) {
    const std::u16string_view name = Plain(text);
    if (!IsName(name)) Fail("has no usable name");
    return ToString(name);
}

void Parser::ParseNamespace(std::u16string_view text) {
    if (text.back() != u']') Fail("begins with '[' but does not end with ']'");
    current = group.GetConfig(Name(text.substr(1, text.size() - 2)));
}

void Parser::ParseAttribute(std::u16string_view text) {
    const std::size_t equals = FindEquals(text);
    if (equals == std::u16string_view::npos) Fail("is no comment, no '[namespace]' and no 'name=value'");
    if (!current) Fail("stands before the first '[namespace]'");
    const String_t name = Name(text.substr(0, equals));
    current->SetAttrValue(name, ToString(Plain(text.substr(equals + 1))));
}

/// Writes UTF-16 text to a stream of UTF-8 piece by piece: a value may be as long as a message.
class TextOutput {
public:
    explicit TextOutput(LumPalIo::OutputStream_t& stream) : stream(stream) {}
    std::u16string text;
    /// Writes what is there when it is worth a write.
    void Pass() {
        if (text.size() >= BlockSize) Flush();
    }
    void Flush() {
        const std::string bytes = ToString(text).ToUtf8();
        stream.Write(bytes.data(), bytes.size());
        text.clear();
    }

private:
    LumPalIo::OutputStream_t& stream;
};

void WriteValue(TextOutput& out, std::u16string_view value) {
    for (std::size_t at = 0; at < value.size(); out.Pass()) at = AppendPart(out.text, value, at, BlockSize);
}

/// All of them before the first byte is written.
void CheckNames(const ConfigGroup_t& group) {
    String_t name, value;
    for (int i = 0; i < group.GetConfigCount(); ++i) {
        const Configuration_t config = group.GetConfig(i);
        CheckName(config.GetNamespace());
        for (int k = 0; config.GetAttr(k, name, value); ++k) CheckName(name);
    }
}

void WriteConfig(TextOutput& out, const Configuration_t& config, bool isFirst) {
    if (!isFirst) out.text += u'\n';
    out.text += u'[';
    AppendName(out.text, config.GetNamespace().View());
    out.text += u"]\n";
    String_t name, value;
    for (int i = 0; config.GetAttr(i, name, value); ++i) {
        AppendName(out.text, name.View());
        out.text += u'=';
        WriteValue(out, value.View());
        out.text += u'\n';
        out.Pass();
    }
}

}  // namespace

void RefuseTooLarge(const String_t& source) {
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("'%1' is too large: settings have at most %2 MiB.")
                                  << source << static_cast<unsigned>(kLargestFile >> 20));
}

namespace {

String_t NameOf(const String_t& source) {
    return source.IsEmpty() ? String_t("the configuration") : source;
}

/// All bytes of a stream.
class WholeText {
public:
    WholeText(LumPalIo::InputStream_t stream, const String_t& source) {
        // Settings of many policies are merged from memory: no copy of each.
        auto* const peekable = dynamic_cast<LumPalIo::PeekableInput*>(stream.GetImpl().get());
        kept = peekable ? peekable->TakeRest() : std::nullopt;
        if (!kept) read = LumPalIo::ReadWhole(stream, kLargestFile);
        if (!kept && !read) RefuseTooLarge(source);
    }
    std::string_view Get() const { return kept ? *kept : read->View(); }

private:
    std::optional<std::string_view> kept;
    std::optional<LumPalArray::CharArray_t> read;
};

}  // namespace

void ConfigReader_t::Load(LumPalIo::InputStream_t stream, ConfigGroup_t& group, const String_t& source) {
    const WholeText text(stream, source);
    Parser parser;
    parser.Parse(text.Get(), [&](unsigned long number, std::string_view, const char* reason) -> bool {
        // The line itself is not shown: what it holds may be a secret.
        throw SyntaxException_t(LumPalMsg::CreateError_t("Line %1 of '%2' %3.")
                                << LumPalStr::NumToStr(number) << NameOf(source) << reason);
    });
    group.MoveIn(parser.GetGroup());
}

std::vector<BadLine_t> ConfigReader_t::FindBadLines(LumPalIo::InputStream_t stream, std::size_t most,
                                                    const String_t& source) {
    const WholeText text(stream, source);
    std::vector<BadLine_t> found;
    const auto take = [&](unsigned long number, std::string_view bytes, const char* reason) {
        if (found.size() == most) {
            found.push_back({0, 0, LumPalMsg::CreateError_t("More lines of '%1' are refused.") << NameOf(source)});
            return false;
        }
        const unsigned long column = bytes.find_first_not_of(kBlanks) + 1;
        found.push_back({number, column,
                         LumPalMsg::CreateError_t("Line %1, column %2 of '%3' %4.")
                             << LumPalStr::NumToStr(number) << LumPalStr::NumToStr(column) << NameOf(source)
                             << reason});
        return true;
    };
    Parser().Parse(text.Get(), take);
    return found;
}

void ConfigWriter_t::Write(LumPalIo::OutputStream_t stream, const ConfigGroup_t& group) {
    CheckNames(group);
    TextOutput out(stream);
    for (int i = 0; i < group.GetConfigCount(); ++i) WriteConfig(out, group.GetConfig(i), i == 0);
    out.Flush();
}

}  // namespace LumPalCfgFile
