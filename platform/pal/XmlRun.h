/// @file
/// One pass of the parser library over one document.
#pragma once

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <vector>

#include "LumPalXml.h"
#include "XmlMark.h"
#include "XmlMemory.h"
#include "XmlNames.h"
#include "XmlUtf16.h"

struct XML_ParserStruct;

namespace LumPalXml::SAX {

/// What a reader was told before a parse.
struct ReaderSettings {
    ContentHandler_i* content = nullptr;
    DTDHandler_i* dtd = nullptr;
    EntityResolver_i* resolver = nullptr;
    ErrorHandler_i* error = nullptr;
    bool refuseDoctype = false;
    bool refuseSkippedEntities = false;
    std::uint32_t depthLimit = 100000;
};

/// Buffers that outlive a document, so that the next one of the same thread finds them warm.
struct RunScratch {
    XmlNames elements;
    // Apart from the elements' names: looking at an attribute must not move the element's name away.
    XmlNames attributes;
    std::vector<char16_t> text;
};

/// Borrows the thread's scratch; a parse inside a handler of another parse gets one of its own.
class BorrowedScratch {
public:
    BorrowedScratch();
    ~BorrowedScratch();
    BorrowedScratch(const BorrowedScratch&) = delete;
    BorrowedScratch& operator=(const BorrowedScratch&) = delete;
    RunScratch* operator->() const noexcept { return scratch.get(); }

private:
    std::unique_ptr<RunScratch> scratch;
};

/// Feeds a source to a fresh parser and passes its events on. Used once.
///
/// No exception crosses the library's frames: an event that throws, and a document that breaks one
/// of our bounds, stop the parser, and Parse raises what happened when the library has returned.
class Run : private Locator_i {
public:
    Run(const ReaderSettings& settings, const InputSource_t& source);
    void Parse();

private:
    struct Events;
    struct AttributeList;
    struct ParserCloser {
        void operator()(XML_ParserStruct* parser) const noexcept;
    };

    int GetLineNumber() const override;
    int GetColumnNumber() const override;
    LumPalStr::String_t GetPublicId() const override { return source.GetPublicId(); }
    LumPalStr::String_t GetSystemId() const override { return source.GetSystemId(); }

    XML_ParserStruct* NewParser();
    bool Feed();
    std::size_t Fill(char* target, std::size_t length);
    bool CheckToken();
    void Deliver(std::size_t units);
    void Refuse(const char* reason);
    void Stop();
    void Report();
    template <class Call>
    void Guard(Call call) noexcept;
    /// Tells the text before the event, too.
    template <class Call>
    void Event(Call call) noexcept;
    void TellRestOfText() noexcept;
    void TellText();
    void TellLongText();
    bool GoesOn(const char* text, int length);
    bool IsReference();

    const ReaderSettings& settings;
    const InputSource_t& source;
    BorrowedScratch scratch;
    MemoryBudget budget;
    std::unique_ptr<XML_ParserStruct, ParserCloser> parser;
    std::exception_ptr thrown;
    const char* refusal = nullptr;
    int refusalLine = 0, refusalColumn = 0;
    ByteOrderMark mark;
    Utf16Check utf16;
    bool stopped = false;
    bool ended = false;
    std::uint64_t bytesRead = 0, unitsDelivered = 0;
    std::size_t block = 0;
    // Text that may go on is held in scratch->text; the byte behind it, or -1 when it is one that ends with itself.
    std::size_t heldUnits = 0;
    std::int64_t heldEnd = -1;
    bool inCdata = false;
    std::uint32_t depth = 0;
    std::uint32_t entities = 0;
    // The library tells an external entity's reference by the address of its system id. Parameter entities: "%name".
    std::map<const char*, LumPalStr::String_t> externalNames;
};

}  // namespace LumPalXml::SAX
