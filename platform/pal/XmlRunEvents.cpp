#include "XmlRunEvents.h"

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "StringSpace.h"
#include "XmlText.h"

namespace LumPalXml::SAX {
namespace {

using LumPalStr::String_t;

// Entities may refer to each other in a chain, and the library follows it on the stack.
constexpr std::uint32_t MostEntities = 1000;
// The library writes a namespace's name out for each attribute that has its prefix.
constexpr std::size_t LongestNamespace = 4096;
// In units. A text that is longer is parted behind a unit that is no blank, so that who trims a text's end loses
// nothing.
constexpr std::size_t LongestPiece = 65536;

String_t Text(const char* utf8) {
    return utf8 ? String_t::FromUtf8(utf8) : String_t::Null();
}
String_t TextOrEmpty(const char* utf8) {
    return String_t::FromUtf8(utf8 ? utf8 : "");
}
/// How much of a text's start to tell: as far as possible, but no blank and no half of a pair at its end.
std::size_t EndOfPart(std::u16string_view text) {
    std::size_t end = text.size();
    while (end > 0 && (IsLead(text[end - 1]) || LumPalStr::IsSpace(text[end - 1]))) --end;
    if (end != 0) return end;
    return IsLead(text.back()) ? text.size() - 1 : text.size();
}
String_t NameOf(const char* entity, int isParameter) {
    return isParameter ? "%" + Text(entity) : Text(entity);
}

}  // namespace

struct Run::AttributeList : public Attributes_i {
    AttributeList(XmlNames& names, const char** pairs) : names(names), pairs(pairs) {}
    int GetCount() const override {
        if (count < 0) {
            for (count = 0; pairs[2 * count]; ++count) {
            }
        }
        return count;
    }
    bool Has(int index) const { return index >= 0 && index < GetCount(); }
    String_t GetUri(int index) const override {
        return Has(index) ? names.Get(pairs[2 * index]).uri : String_t::Null();
    }
    String_t GetLocalName(int index) const override {
        return Has(index) ? names.Get(pairs[2 * index]).localName : String_t::Null();
    }
    String_t GetQName(int index) const override {
        return Has(index) ? names.Get(pairs[2 * index]).qName : String_t::Null();
    }
    String_t GetValue(int index) const override {
        return Has(index) ? String_t::FromUtf8(pairs[2 * index + 1]) : String_t::Null();
    }

    XmlNames& names;
    const char** pairs;
    mutable int count = -1;
};

template <class Call>
void Run::Guard(Call call) noexcept {
    if (stopped) return;
    try {
        call();
    } catch (...) {
        thrown = std::current_exception();
        Stop();
    }
}

template <class Call>
void Run::Event(Call call) noexcept {
    Guard([&] {
        TellText();
        call();
    });
}

void Run::TellRestOfText() noexcept {
    Guard([&] { TellText(); });
}

void Run::TellText() {
    const std::size_t count = std::exchange(heldUnits, 0);
    if (count != 0) settings.content->Characters(scratch->text.data(), 0, static_cast<std::uint32_t>(count));
}

void Run::TellLongText() {
    const char16_t* const units = scratch->text.data();
    std::size_t told = 0;
    while (heldUnits - told > LongestPiece) {
        const std::size_t length = EndOfPart({units + told, LongestPiece});
        settings.content->Characters(units + told, 0, static_cast<std::uint32_t>(length));
        told += length;
    }
    if (told == 0) return;
    heldUnits -= told;
    std::copy_n(units + told, heldUnits, scratch->text.data());
}

// Only a text as it stands in the document goes on in the next call: the parser ends it with its block, with the room
// it has for another encoding, and at a "]" of a CDATA section. What an entity stands for has the place of its
// reference.
bool Run::GoesOn(const char* text, int length) {
    const bool isAlone = (length == 1 && *text == '\n') || IsReference();
    const std::int64_t start = XML_GetCurrentByteIndex(parser.get());
    const bool goesOn = start == heldEnd && !isAlone;
    heldEnd = isAlone ? -1 : start + XML_GetCurrentByteCount(parser.get());
    return goesOn;
}

bool Run::IsReference() {
    if (inCdata) return false;
    int offset = 0, size = 0;
    const char* const bytes = XML_GetInputContext(parser.get(), &offset, &size);
    return !bytes || utf16.IsAmpersand({bytes + offset, static_cast<std::size_t>(size - offset)});
}

void Run::Events::Register(XML_ParserStruct* parser) {
    XML_SetReturnNSTriplet(parser, XML_TRUE);
    XML_SetElementHandler(parser, StartElement, EndElement);
    XML_SetNamespaceDeclHandler(parser, StartPrefix, EndPrefix);
    XML_SetCharacterDataHandler(parser, Text);
    XML_SetCdataSectionHandler(parser, StartCdata, EndCdata);
    XML_SetProcessingInstructionHandler(parser, Instruction);
    XML_SetXmlDeclHandler(parser, Declaration);
    XML_SetStartDoctypeDeclHandler(parser, StartDoctype);
    XML_SetEntityDeclHandler(parser, Entity);
    XML_SetNotationDeclHandler(parser, Notation);
    XML_SetSkippedEntityHandler(parser, Skipped);
    XML_SetExternalEntityRefHandler(parser, External);
}

// Attributes that stand in the document are paid for by its bytes; defaults are not.
void Run::Events::CountDefaults(Run& run, const char** attributes) {
    std::size_t bytes = 0;
    for (const char** rest = attributes + XML_GetSpecifiedAttributeCount(run.parser.get()); *rest; ++rest) {
        bytes += std::strlen(*rest);
    }
    if (bytes != 0) run.Deliver(bytes);
}

void Run::Events::StartElement(void* self, const char* name, const char** attributes) {
    Run& run = Of(self);
    run.Event([&] {
        if (++run.depth > run.settings.depthLimit) return run.Refuse("its elements are nested too deep");
        CountDefaults(run, attributes);
        if (run.stopped || !run.settings.content) return;
        const XmlName& parts = run.scratch->elements.Get(name);
        run.settings.content->StartElement(parts.uri, parts.localName, parts.qName,
                                           AttributeList(run.scratch->attributes, attributes));
    });
}

void Run::Events::EndElement(void* self, const char* name) {
    Run& run = Of(self);
    run.Event([&] {
        --run.depth;
        if (!run.settings.content) return;
        const XmlName& parts = run.scratch->elements.Get(name);
        run.settings.content->EndElement(parts.uri, parts.localName, parts.qName);
    });
}

void Run::Events::StartPrefix(void* self, const char* prefix, const char* uri) {
    Run& run = Of(self);
    run.Event([&] {
        if (uri && std::strlen(uri) > LongestNamespace) {
            return run.Refuse("the name of a namespace is longer than 4096 bytes");
        }
        if (run.settings.content) run.settings.content->StartPrefixMapping(TextOrEmpty(prefix), TextOrEmpty(uri));
    });
}

void Run::Events::EndPrefix(void* self, const char* prefix) {
    Run& run = Of(self);
    run.Event([&] {
        if (run.settings.content) run.settings.content->EndPrefixMapping(TextOrEmpty(prefix));
    });
}

void Run::Events::Text(void* self, const char* text, int length) {
    Run& run = Of(self);
    run.Guard([&] {
        if (!run.settings.content) return;
        if (!run.GoesOn(text, length)) run.TellText();
        std::vector<char16_t>& units = run.scratch->text;
        const std::size_t bytes = static_cast<std::size_t>(length);
        if (units.size() < run.heldUnits + bytes) units.resize(run.heldUnits + bytes);
        const std::size_t count = Widen(text, bytes, units.data() + run.heldUnits);
        run.Deliver(count);
        if (run.stopped) return;
        run.heldUnits += count;
        run.TellLongText();
    });
}

void Run::Events::StartCdata(void* self) {
    Run& run = Of(self);
    run.Event([&] { run.inCdata = true; });
}

void Run::Events::EndCdata(void* self) {
    Run& run = Of(self);
    run.Event([&] { run.inCdata = false; });
}

void Run::Events::Instruction(void* self, const char* target, const char* data) {
    Run& run = Of(self);
    run.Event([&] {
        if (run.settings.content) run.settings.content->ProcessingInstruction(SAX::Text(target), TextOrEmpty(data));
    });
}

// The library takes the declaration's word against the mark where both encodings have bytes as their units.
void Run::Events::Declaration(void* self, const char*, const char* encoding, int) {
    Run& run = Of(self);
    run.Event([&] {
        if (encoding && !run.mark.Allows(encoding)) run.Refuse("its byte order mark is not that of its encoding");
    });
}

void Run::Events::TellExternal(Run& run, const char* publicId, const char* systemId, const String_t& name) {
    if (run.settings.resolver) run.settings.resolver->ResolveEntity(SAX::Text(publicId), SAX::Text(systemId));
    Skip(run, name);
}

void Run::Events::Skip(Run& run, const String_t& name) {
    if (run.settings.refuseSkippedEntities)
        return run.Refuse("it refers to an entity or an external subset, which is not read");
    if (run.settings.content) run.settings.content->SkippedEntity(name);
}

void Run::Events::StartDoctype(void* self, const char*, const char* systemId, const char* publicId, int) {
    Run& run = Of(self);
    run.Event([&] {
        if (run.settings.refuseDoctype) return run.Refuse("a document type declaration is not allowed");
        if (systemId) TellExternal(run, publicId, systemId, "[dtd]");
    });
}

void Run::Events::Entity(void* self, const char* name, int isParameter, const char*, int, const char*,
                         const char* systemId, const char* publicId, const char* notation) {
    Run& run = Of(self);
    run.Event([&] {
        if (++run.entities > MostEntities) return run.Refuse("it declares more than 1000 entities");
        if (isParameter && run.settings.refuseSkippedEntities) return run.Refuse("it declares a parameter entity");
        if (notation) {
            if (!run.settings.dtd) return;
            run.settings.dtd->UnparsedEntityDecl(SAX::Text(name), SAX::Text(publicId), SAX::Text(systemId),
                                                 SAX::Text(notation));
        } else if (systemId) {
            run.externalNames.emplace(systemId, NameOf(name, isParameter));
        }
    });
}

void Run::Events::Notation(void* self, const char* name, const char*, const char* systemId, const char* publicId) {
    Run& run = Of(self);
    run.Event([&] {
        if (!run.settings.dtd) return;
        run.settings.dtd->NotationDecl(SAX::Text(name), SAX::Text(publicId), SAX::Text(systemId));
    });
}

void Run::Events::Skipped(void* self, const char* name, int isParameter) {
    Run& run = Of(self);
    run.Event([&] { Skip(run, NameOf(name, isParameter)); });
}

// Telling the library "done" without parsing anything leaves the entity out. Of the external subset, which has neither
// a name nor a context, the handlers know since the document type began.
int Run::Events::External(XML_ParserStruct* parser, const char* context, const char*, const char* systemId,
                          const char* publicId) {
    Run& run = Of(XML_GetUserData(parser));
    run.Event([&] {
        const auto found = run.externalNames.find(systemId);
        const bool isNamed = found != run.externalNames.end();
        if (isNamed || context) TellExternal(run, publicId, systemId, isNamed ? found->second : String_t());
    });
    return XML_STATUS_OK;
}

}  // namespace LumPalXml::SAX
