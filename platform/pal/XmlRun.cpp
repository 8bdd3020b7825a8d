#include "XmlRun.h"

// The library is built with document type support; its header asks for this to show the bounds on it.
#define XML_DTD
#include <expat.h>

#include <algorithm>
#include <new>

#include "XmlRunEvents.h"

namespace LumPalXml::SAX {
namespace {

using LumPalStr::String_t;

constexpr std::size_t SmallestBlock = 4096;
constexpr std::size_t LargestBlock = 65536;
// A tag, comment or declaration stands in memory as a whole; texts between tags do not.
constexpr std::size_t LongestToken = 8u << 20;
// What a document may say beyond its own size by entities and attribute defaults.
constexpr float LargestAmplification = 2.0f;
constexpr std::uint64_t FreeAmplification = 1u << 20;

thread_local std::unique_ptr<RunScratch> spareScratch;

LumPalMsg::Message_t Describe(const char* reason, int line, int column, const String_t& systemId) {
    if (systemId.IsEmpty()) {
        return LumPalMsg::CreateError_t("The XML document is refused at line %1, column %2: %3.")
               << line << column << reason;
    }
    return LumPalMsg::CreateError_t("The XML document '%4' is refused at line %1, column %2: %3.")
           << line << column << reason << systemId;
}

std::size_t FirstBlock(const LumPalIo::InputStream_t& stream) {
    // One byte more than is there shows the end of a small file in the same round.
    return std::clamp(stream.GetImpl()->Available() + 1, SmallestBlock, LargestBlock);
}

}  // namespace

BorrowedScratch::BorrowedScratch() : scratch(std::move(spareScratch)) {
    if (!scratch) scratch = std::make_unique<RunScratch>();
}

BorrowedScratch::~BorrowedScratch() {
    scratch->elements.Trim();
    scratch->attributes.Trim();
    if (scratch->text.size() > LargestBlock) scratch->text = {};
    spareScratch = std::move(scratch);
}

XML_ParserStruct* Run::NewParser() {
    const MemoryBudget::Scope charged(&budget);
    const XML_Memory_Handling_Suite memory{&MemoryBudget::Allocate, &MemoryBudget::Reallocate, &MemoryBudget::Free};
    const XML_Char separator[] = {NameSeparator, 0};
    return XML_ParserCreate_MM(nullptr, &memory, separator);
}

void Run::ParserCloser::operator()(XML_ParserStruct* parser) const noexcept {
    const MemoryBudget::Scope nobody(nullptr);
    XML_ParserFree(parser);
}

Run::Run(const ReaderSettings& settings, const InputSource_t& source)
    : settings(settings),
      source(source),
      // Whoever is so strict reads what came from outside.
      budget(settings.refuseDoctype || settings.refuseSkippedEntities ? MemoryBudget::kOutside
                                                                      : MemoryBudget::kDocument),
      parser(NewParser()) {
    if (!parser) throw std::bad_alloc();
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser.get(), LargestAmplification);
    XML_SetBillionLaughsAttackProtectionActivationThreshold(parser.get(), FreeAmplification);
    // Its default would leave parameter entities out without a word; of external ones it now tells, and reads none.
    XML_SetParamEntityParsing(parser.get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
    XML_SetUserData(parser.get(), this);
    Events::Register(parser.get());
}

int Run::GetLineNumber() const {
    return static_cast<int>(XML_GetCurrentLineNumber(parser.get()));
}
int Run::GetColumnNumber() const {
    return static_cast<int>(XML_GetCurrentColumnNumber(parser.get())) + 1;
}

void Run::Parse() {
    if (settings.content) {
        settings.content->SetDocumentLocator(this);
        settings.content->StartDocument();
    }
    const bool whole = Feed();
    TellRestOfText();
    if (thrown) std::rethrow_exception(thrown);
    if (!whole) return Report();
    if (settings.content) settings.content->EndDocument();
}

bool Run::Feed() {
    const MemoryBudget::Scope charged(&budget);
    block = FirstBlock(source.GetStream());
    for (bool last = false; !last;) {
        budget.AllowFor(bytesRead + block);
        char* const target = static_cast<char*>(XML_GetBuffer(parser.get(), static_cast<int>(block)));
        if (!target) return false;
        const std::size_t count = Fill(target, block);
        if (bytesRead == 0) mark = ByteOrderMark({target, count});
        const std::size_t good = utf16.Accept(target, count);
        last = count < block && good == count;
        bytesRead += good;
        if (XML_ParseBuffer(parser.get(), static_cast<int>(good), last) != XML_STATUS_OK) return false;
        if (good < count) Refuse("a lead surrogate has no trail");
        if (stopped || (!last && !CheckToken())) return false;
    }
    return true;
}

std::size_t Run::Fill(char* target, std::size_t length) {
    std::size_t count = 0;
    while (count < length && !ended) {
        const std::int64_t got = source.GetStream().GetImpl()->Read(target + count, length - count);
        if (got < 0)
            ended = true;
        else
            count += static_cast<std::size_t>(got);
    }
    return count;
}

// The library looks at an unfinished token again with every block: blocks grow with the token, so
// that the work stays linear.
bool Run::CheckToken() {
    const std::uint64_t parsed =
        static_cast<std::uint64_t>(std::max<XML_Index>(0, XML_GetCurrentByteIndex(parser.get())));
    const std::size_t pending = static_cast<std::size_t>(bytesRead - std::min(parsed, bytesRead));
    if (pending > LongestToken) {
        Refuse("a tag, comment or declaration is longer than 8 MiB");
        return false;
    }
    block = std::min(std::max(LargestBlock, pending), LongestToken + 1 - pending);
    return true;
}

void Run::Deliver(std::size_t units) {
    unitsDelivered += units;
    if (unitsDelivered > 2 * bytesRead + FreeAmplification) Refuse("its entities expand beyond the bound");
}

void Run::Stop() {
    stopped = true;
    XML_StopParser(parser.get(), XML_FALSE);
}

void Run::Refuse(const char* reason) {
    if (stopped) return;
    refusal = reason;
    refusalLine = GetLineNumber();
    refusalColumn = GetColumnNumber();
    Stop();
}

void Run::Report() {
    const XML_Error code = XML_GetErrorCode(parser.get());
    if (!refusal && budget.IsExceeded()) Refuse("its names and tokens need too much memory");
    if (!refusal && code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    const int line = refusal ? refusalLine : GetLineNumber();
    const int column = refusal ? refusalColumn : GetColumnNumber();
    const char* const reason = refusal ? refusal : XML_ErrorString(code);
    const SAXParseException_t exception(Describe(reason, line, column, GetSystemId()), line, column, GetPublicId(),
                                        GetSystemId());
    if (!settings.error) throw exception;
    settings.error->FatalError(exception);
}

}  // namespace LumPalXml::SAX
