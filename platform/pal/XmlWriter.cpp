// XmlWriter_t of LumPalXml.h.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "LumPalXml.h"
#include "XmlText.h"

namespace LumPalXml {
namespace {

using LumPalStr::String_t;

constexpr std::size_t BufferSize = 16384;
constexpr char XmlNamespace[] = "http://www.w3.org/XML/1998/namespace";
constexpr char XmlnsNamespace[] = "http://www.w3.org/2000/xmlns/";

[[noreturn]] void BadArgument(const char* text, const String_t& what) {
    throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t(text) << what);
}

[[noreturn]] void BadState(const char* text) {
    throw LumPalMsg::IllegalStateError_t(LumPalMsg::CreateError_t(text));
}

struct QName {
    String_t prefix, local;
};

QName Split(const String_t& name) {
    const std::uint32_t colon = name.Find(":");
    if (colon == LumPalStr::NotFound) return {String_t(u"", 0), name};
    return {name.Left(colon), name.Mid(colon + 1)};
}

QName CheckedName(const String_t& name) {
    QName parts = Split(name);
    const bool prefixed = parts.local.GetLength() != name.GetLength();
    if (!IsNcName(parts.local.View()) || (prefixed && !IsNcName(parts.prefix.View()))) {
        BadArgument("'%1' is not a name that XML allows.", LumPalXml::XmlWriter_t::Clean(name));
    }
    return parts;
}

void CheckText(std::u16string_view text) {
    const std::size_t at = FindIllegalChar(text);
    if (at == text.size()) return;
    throw LumPalMsg::IllegalArgumentError_t(
        LumPalMsg::CreateError_t("XML cannot carry the UTF-16 unit %1 at position %2 of the text.")
        << static_cast<unsigned>(text[at]) << LumPalStr::NumToStr(static_cast<unsigned long>(at)));
}

bool IsBlank(std::u16string_view text) {
    return text.find_first_not_of(u" \t\n") == std::u16string_view::npos;
}

enum class Place { Data, AttributeValue };

// Line ends and tabs would be normalised away in an attribute, and a CR everywhere.
const char* EscapeOf(char16_t unit, Place place) {
    const bool inValue = place == Place::AttributeValue;
    switch (unit) {
        case u'&':
            return "&amp;";
        case u'<':
            return "&lt;";
        case u'>':
            return "&gt;";
        case u'\r':
            return "&#13;";
        case u'"':
            return inValue ? "&quot;" : nullptr;
        case u'\t':
            return inValue ? "&#9;" : nullptr;
        case u'\n':
            return inValue ? "&#10;" : nullptr;
        default:
            return nullptr;
    }
}

}  // namespace

struct XmlWriter_t::Impl {
    struct Binding {
        String_t prefix, uri;
    };
    struct Attr {
        String_t name, value;
        QName parts;
    };
    struct Element {
        std::string name;
        std::size_t bindingsBelow;
        bool hasChildren = false, hasText = false;
    };
    enum class State { Start, Root, Behind, Closed };

    Impl(const LumPalIo::OutputStream_t& stream, const Options_t& options) : stream(stream), options(options) {
        bindings.push_back({"xml", XmlNamespace});
    }

    void Open(const String_t& name);
    void Bind(const String_t& prefix, const String_t& uri);
    void AddAttribute(const String_t& name, const String_t& value);
    void AddData(std::u16string_view text);
    void CloseOne();
    void CloseAll();

private:
    void CheckOpen() const;
    void CheckPending() const;
    void CheckPendingNames() const;
    const String_t* UriOf(const String_t& prefix) const;
    void AddCarriable(std::u16string_view text);
    void FinishTag();
    void WriteDeclaration();
    void BreakLine(std::size_t level);
    void Escape(std::u16string_view text, Place place);
    void Flush();
    void FlushWhenFull() {
        if (buffer.size() >= BufferSize) Flush();
    }

    LumPalIo::OutputStream_t stream;
    const Options_t options;
    std::string buffer;
    State state = State::Start;
    std::vector<Element> open;
    std::vector<Binding> bindings;
    // The tag just opened is kept back until it is known whole, so that a wrong part of it writes nothing.
    bool pending = false;
    QName pendingName;
    std::vector<Attr> attributes;
};

void XmlWriter_t::Impl::CheckOpen() const {
    if (state == State::Closed) BadState("The XML writer is closed.");
}

void XmlWriter_t::Impl::CheckPending() const {
    CheckOpen();
    if (!pending) BadState("An attribute or a namespace can only follow the opening of its tag.");
}

const String_t* XmlWriter_t::Impl::UriOf(const String_t& prefix) const {
    const auto found = std::find_if(bindings.rbegin(), bindings.rend(),
                                    [&](const Binding& binding) { return binding.prefix == prefix; });
    return found == bindings.rend() ? nullptr : &found->uri;
}

void XmlWriter_t::Impl::CheckPendingNames() const {
    if (!pendingName.prefix.IsEmpty() && !UriOf(pendingName.prefix)) {
        BadArgument("The prefix '%1' is not declared.", pendingName.prefix);
    }
    std::vector<std::pair<String_t, String_t>> seen;
    for (const Attr& attribute : attributes) {
        if (attribute.parts.prefix.IsEmpty()) continue;
        const String_t* const uri = UriOf(attribute.parts.prefix);
        if (!uri) BadArgument("The prefix '%1' is not declared.", attribute.parts.prefix);
        const std::pair<String_t, String_t> name(*uri, attribute.parts.local);
        if (std::find(seen.begin(), seen.end(), name) != seen.end()) {
            BadArgument("The attribute '%1' stands twice in one tag.", attribute.name);
        }
        seen.push_back(name);
    }
}

void XmlWriter_t::Impl::Flush() {
    if (buffer.empty()) return;
    std::string full;
    full.swap(buffer);
    stream.Write(full.data(), full.size());
    full.clear();
    buffer.swap(full);
}

void XmlWriter_t::Impl::Escape(std::u16string_view text, Place place) {
    for (std::size_t i = 0; i < text.size();) {
        if (const char* const escape = EscapeOf(text[i], place)) {
            buffer += escape;
            ++i;
        } else {
            AppendUtf8(buffer, NextCode(text, i));
        }
        FlushWhenFull();
    }
}

void XmlWriter_t::Impl::BreakLine(std::size_t level) {
    if (options.indent == 0) return;
    buffer += '\n';
    buffer.append(level * static_cast<std::size_t>(options.indent), ' ');
}

void XmlWriter_t::Impl::WriteDeclaration() {
    if (state != State::Start) return;
    state = State::Root;
    if (!options.declaration) return;
    buffer += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    if (options.indent != 0) buffer += '\n';
}

void XmlWriter_t::Impl::FinishTag() {
    if (!pending) return;
    CheckPendingNames();
    pending = false;
    buffer += '<';
    buffer += open.back().name;
    for (std::size_t i = open.back().bindingsBelow; i < bindings.size(); ++i) {
        buffer += " xmlns";
        if (bindings[i].prefix.IsNotEmpty()) buffer += ':' + bindings[i].prefix.ToUtf8();
        buffer += "=\"";
        Escape(bindings[i].uri.View(), Place::AttributeValue);
        buffer += '"';
    }
    for (const Attr& attribute : attributes) {
        buffer += ' ' + attribute.name.ToUtf8() + "=\"";
        Escape(attribute.value.View(), Place::AttributeValue);
        buffer += '"';
    }
    attributes.clear();
    buffer += '>';
    FlushWhenFull();
}

void XmlWriter_t::Impl::Open(const String_t& name) {
    CheckOpen();
    const QName parts = CheckedName(name);
    if (parts.prefix == "xmlns") BadArgument("'%1' is not a name that XML allows.", name);
    if (state == State::Behind) BadState("An XML document has only one root element.");
    FinishTag();
    WriteDeclaration();
    if (!open.empty()) {
        if (!open.back().hasText) BreakLine(open.size());
        open.back().hasChildren = true;
    }
    open.push_back({name.ToUtf8(), bindings.size()});
    pendingName = parts;
    pending = true;
}

void XmlWriter_t::Impl::Bind(const String_t& prefix, const String_t& uri) {
    CheckPending();
    CheckText(uri.View());
    const bool reserved = prefix == "xml" || prefix == "xmlns" || uri == XmlNamespace || uri == XmlnsNamespace;
    const bool named = prefix.IsNotEmpty();
    if (reserved || (named && (uri.IsEmpty() || !IsNcName(prefix.View())))) {
        BadArgument("The prefix '%1' cannot be declared so.", XmlWriter_t::Clean(prefix));
    }
    const auto twice = std::any_of(bindings.begin() + static_cast<std::ptrdiff_t>(open.back().bindingsBelow),
                                   bindings.end(), [&](const Binding& binding) { return binding.prefix == prefix; });
    if (twice) BadArgument("The prefix '%1' is declared twice in one tag.", prefix);
    bindings.push_back({prefix, uri});
}

void XmlWriter_t::Impl::AddAttribute(const String_t& name, const String_t& value) {
    CheckPending();
    const QName parts = CheckedName(name);
    CheckText(value.View());
    if (name == "xmlns" || parts.prefix == "xmlns") BadArgument("'%1' is not an attribute but a namespace.", name);
    const bool twice = std::any_of(attributes.begin(), attributes.end(), [&](const Attr& a) { return a.name == name; });
    if (twice) BadArgument("The attribute '%1' stands twice in one tag.", name);
    attributes.push_back({name, value, parts});
}

void XmlWriter_t::Impl::AddData(std::u16string_view text) {
    CheckOpen();
    if (!options.cleanTexts) CheckText(text);
    const bool carriable = !options.cleanTexts || FindIllegalChar(text) == text.size();
    if (carriable) return AddCarriable(text);
    AddCarriable(Clean(String_t(text.data(), static_cast<std::uint32_t>(text.size()))).View());
}

void XmlWriter_t::Impl::AddCarriable(std::u16string_view text) {
    if (open.empty()) {
        if (!IsBlank(text)) BadState("Text cannot stand outside the root element.");
        if (!text.empty()) WriteDeclaration();
    } else {
        FinishTag();
        open.back().hasText = open.back().hasText || !text.empty();
    }
    Escape(text, Place::Data);
}

void XmlWriter_t::Impl::CloseOne() {
    CheckOpen();
    if (open.empty()) BadState("There is no open tag to close.");
    FinishTag();
    const Element& element = open.back();
    if (element.hasChildren && !element.hasText) BreakLine(open.size() - 1);
    buffer += "</" + element.name + '>';
    bindings.resize(element.bindingsBelow);
    open.pop_back();
    if (open.empty()) state = State::Behind;
    FlushWhenFull();
}

void XmlWriter_t::Impl::CloseAll() {
    if (state == State::Closed) return;
    while (!open.empty()) CloseOne();
    if (state == State::Behind) BreakLine(0);
    Flush();
    stream.Flush();
    state = State::Closed;
}

XmlWriter_t::XmlWriter_t(const LumPalIo::OutputStream_t& stream) : XmlWriter_t(stream, Options_t()) {}

XmlWriter_t::XmlWriter_t(const LumPalIo::OutputStream_t& stream, const Options_t& options) {
    const String_t& encoding = options.encoding.GetName();
    const bool isUtf8 = LumPalStr::Compare(encoding, String_t("UTF-8"), true) == 0;
    if (stream.IsNull()) BadArgument("XML cannot be written to '%1'.", "a null stream");
    if (!options.encoding.IsNull() && !isUtf8) BadArgument("XML is written in UTF-8, not in '%1'.", encoding);
    if (options.indent < 0) BadArgument("An indent of %1 blanks is not possible.", LumPalStr::NumToStr(options.indent));
    impl = std::make_shared<Impl>(stream, options);
}

XmlWriter_t::Impl& XmlWriter_t::Get() const {
    if (!impl) BadState("The XML writer is null.");
    return *impl;
}

void XmlWriter_t::OpenTag(const String_t& name) {
    Get().Open(name);
}
void XmlWriter_t::Namespace(const String_t& uri) {
    Get().Bind(String_t(u"", 0), uri);
}
void XmlWriter_t::Namespace(const String_t& prefix, const String_t& uri) {
    Get().Bind(prefix, uri);
}
void XmlWriter_t::Attribute(const String_t& name, const String_t& value) {
    Get().AddAttribute(name, value);
}
void XmlWriter_t::Data(const String_t& text) {
    Get().AddData(text.View());
}
void XmlWriter_t::Data(const char16_t* text, std::uint32_t length) {
    Get().AddData({text, length});
}
void XmlWriter_t::CloseTag() {
    Get().CloseOne();
}
void XmlWriter_t::Close() {
    Get().CloseAll();
}

String_t XmlWriter_t::Clean(const String_t& text) {
    String_t clean = text;
    for (std::size_t at = FindIllegalChar(clean.View()); at < clean.GetLength();
         at = FindIllegalChar(clean.View(), at + 1)) {
        clean.SetAt(static_cast<std::uint32_t>(at), char16_t(0xFFFD));
    }
    return clean;
}

}  // namespace LumPalXml
