#include "PolicyXmlHandler.h"

#include <algorithm>
#include <utility>

#include "Exceptions.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyArrayReader.h"
#include "Trace.h"

namespace LumConf {

using document::Kind;
using document::Row;
using LumPalArray::CharArray_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;

namespace {

/// An element that a document must have, unless the mask excuses it.
struct RequiredElement {
    document::Element element;
    unsigned long tolerance;
    const MessageRow& missing;
};

// The first that is missing is the one that is told.
const RequiredElement kRequiredElements[] = {
    {document::Element::Policy, 0, msg::XmlNoPolicy},
    {document::Element::Ids, 0, msg::XmlNoIds},
    {document::Element::ContainerId, 0x002, msg::XmlNoContainerId},
    {document::Element::Name, 0x004, msg::XmlNoName},
    {document::Element::Owner, 0x008, msg::XmlNoOwner},
    {document::Element::Version, 0x010, msg::XmlNoVersion},
    {document::Element::Description, 0x020, msg::XmlNoDescription},
    {document::Element::Status, 0x040, msg::XmlNoStatus},
    {document::Element::PolicyType, 0x080, msg::XmlNoPolicyType},
    {document::Element::TypeName, 0x100, msg::XmlNoPolicyTypeName},
    {document::Element::Certificate, 0x200, msg::XmlNoCertificate},
};

}  // namespace

PolicyXmlHandler::~PolicyXmlHandler() = default;

void PolicyXmlHandler::StartReading(unsigned long toleranceMask) {
    mode = Mode::Reading;
    tolerance = toleranceMask;
    Reset();
}

void PolicyXmlHandler::StartChecking() {
    StartReading();
    collects = true;
}

void PolicyXmlHandler::StartFinding() {
    StartChecking();
    finds = true;
}

void PolicyXmlHandler::StartRewriting(const LumPalXml::XmlWriter_t& output, const PolicyHeaderImpl* sourceHeader) {
    if (!sourceHeader) Raise<IllegalStateError_t>(msg::XmlHandlerNull);
    mode = Mode::Rewriting;
    writer = output;
    Reset();
    source = sourceHeader->Snapshot();
    sourceCertificate = sourceHeader->GetRawCertificate();
    sourceSignatures = sourceHeader->GetRawSignatures();
}

void PolicyXmlHandler::Reset() {
    newHeader = new PolicyHeaderImpl;
    newHeader->Clear();
    counts.fill(0);
    collects = finds = false;
    faults.clear();
    places.fill(Place());
    dataFilePlaces.clear();
    missing = LumPalMsg::MessageList_t();
    place = Element::None;
    unknownDepth = depth = 0;
    leaf = false;
    attributeName = attributeValue = String_t();
    text.Clear();
}

LumPalPtr::RefPtr_t<PolicyHeaderImpl> PolicyXmlHandler::TakeHeader() {
    if (!newHeader) Raise<IllegalStateError_t>(msg::XmlHandlerNull);
    mode = Mode::NotInitialized;
    newHeader->Compact();
    return std::move(newHeader);
}

void PolicyXmlHandler::StartDocument() {
    if (!IsInitialized()) Raise<IllegalStateError_t>(msg::XmlHandlerNotInitialized);
}

void PolicyXmlHandler::StartElement(const String_t& uri, const String_t& localName, const String_t&,
                                    const LumPalXml::SAX::Attributes_i&) {
    text.Clear();
    leaf = true;
    ++depth;
    const Element found = IsInsideUnknown() ? Element::None : document::FindChild(place, localName.View());
    if (found == Element::None) {
        ++unknownDepth;
    } else {
        place = found;
        ++counts[static_cast<std::size_t>(found)];
        if (finds) NotePlace(found);
    }
    const bool isRoot = found == Element::Header;
    if (isRoot) TryStep(found, [&] { TestNamespace(uri); });
    if (mode == Mode::Rewriting && IsCopied()) CopyStart(uri, localName, isRoot);
}

void PolicyXmlHandler::EndElement(const String_t&, const String_t&, const String_t&) {
    const bool rewriting = mode == Mode::Rewriting;
    const bool copied = rewriting && IsCopied();
    bool isField = false;
    --depth;
    if (IsInsideUnknown()) {
        --unknownDepth;
    } else {
        const Row& row = document::RowOf(place);
        isField = row.kind == Kind::Field;
        if (copied || !rewriting) TryStep(place, [&] { EndKnown(row); });
        place = row.parent;
    }
    if (copied) CopyEnd(isField);
    leaf = false;
    text.Clear();
}

void PolicyXmlHandler::NotePlace(Element element) {
    if (!locator) return;
    const Place here{locator->GetLineNumber(), locator->GetColumnNumber()};
    places[static_cast<std::size_t>(element)] = here;
    if (element == Element::FileName) dataFilePlaces.push_back(here);
}

/// Where an element that is not there should stand.
PolicyXmlHandler::Place PolicyXmlHandler::PlaceAround(Element element) const {
    do element = document::RowOf(element).parent;
    while (element != Element::None && GetCount(element) == 0);
    return element == Element::None ? Place() : GetPlace(element);
}

/// What a step raises is one fault among others, if it is to be found.
template <class Step>
void PolicyXmlHandler::TryStep(Element element, Step step) {
    if (!finds) return step();
    try {
        step();
    } catch (const LumPalMsg::Exception_t& e) {
        faults.push_back({GetPlace(element), e.GetMessageList().GetMessage(0)});
    }
}

void PolicyXmlHandler::EndKnown(const Row& row) {
    if (row.kind == Kind::Field && row.set) EndField(row);
    const Row::Step step = mode == Mode::Rewriting ? row.atRewriteEnd : row.atReadEnd;
    if (step) (this->*step)();
}

void PolicyXmlHandler::Characters(const char16_t* characters, std::uint32_t start, std::uint32_t length) {
    if (IsTextWanted()) text.Append(characters + start, length);
}

void PolicyXmlHandler::EndDocument() {
    TestRequiredElements();
    if (mode != Mode::Rewriting) return;
    if (newHeader->GetSignatureCount() != newHeader->GetDataFileCount())
        Raise<PolicyHeaderException>(msg::XmlSignatureCount);
    writer.Close();
}

void PolicyXmlHandler::TestRequiredElements() {
    for (const RequiredElement& required : kRequiredElements) {
        const bool excused = (tolerance & required.tolerance) != 0;
        if (excused || GetCount(required.element) > 0) continue;
        if (!collects) throw PolicyHeaderException(MakeUnchecked(required.missing));
        missing.Add(MakeUnchecked(required.missing));
        faults.push_back({PlaceAround(required.element), MakeUnchecked(required.missing)});
    }
}

void PolicyXmlHandler::TestNamespace(const String_t& uri) const {
    if (uri == names::PolicyNamespace) return;
    const String_t family(names::PolicyNamespaceFamily);
    if (uri.Left(family.GetLength()) != family)
        Raise<PolicyHeaderException>(msg::XmlNamespaceNotCorrect, uri, names::PolicyNamespace, family);
    LUMCONF_TRACE(trace::Policy, Make(msg::XmlNamespaceOtherVersion).Format(LumPalMsg::Label | LumPalMsg::Text));
}

/// Whether the text of the innermost open element is used: nothing else is held, however long it is.
bool PolicyXmlHandler::IsTextWanted() const noexcept {
    const bool unknown = IsInsideUnknown() || place == Element::None;
    if (mode == Mode::Rewriting) return IsCopied() && (unknown || !document::RowOf(place).set);
    if (unknown) return false;
    const Kind kind = document::RowOf(place).kind;
    return kind == Kind::Field || kind == Kind::RegeneratedText;
}

/// The text goes into the header; a rewrite takes the source's instead.
void PolicyXmlHandler::EndField(const Row& row) {
    if (mode == Mode::Rewriting) text.Set(source.*row.field);
    (newHeader.Get()->*row.set)(Text());
}

void PolicyXmlHandler::ReadFileName() {
    newHeader->SetDataFile(Text());
}
void PolicyXmlHandler::ReadEncoding() {
    newHeader->SetDataFileEncoding(Text());
}
void PolicyXmlHandler::ReadChecksum() {
    newHeader->SetDataFileChecksum(Text());
}
void PolicyXmlHandler::ReadSignature() {
    newHeader->AddSignature(CharArray_t(Text()));
}
void PolicyXmlHandler::ReadCategory() {
    newHeader->SetCategory(Text());
}
void PolicyXmlHandler::ReadAttributeName() {
    attributeName = Text();
}
void PolicyXmlHandler::ReadAttributeValue() {
    attributeValue = Text();
}
void PolicyXmlHandler::ReadCertificate() {
    newHeader->SetCertificate(CharArray_t(Text()));
}

void PolicyXmlHandler::ReadAttribute() {
    const String_t name = std::exchange(attributeName, String_t());
    newHeader->SetAttribute(name, std::exchange(attributeValue, String_t()));
}

// Rewriting. An element at depth n stands on a line of its own behind n blanks.

/// Whether the innermost open element goes to the output. What stands inside an element that is regenerated does
/// not, so that the output stays well-formed whatever is found there. A field that stands there too often does not
/// either: an empty one would be the last, which wins.
bool PolicyXmlHandler::IsCopied() const noexcept {
    if (place == Element::None) return true;
    const Kind kind = document::RowOf(place).kind;
    if (kind == Kind::Field) return !IsOneTooMany(place);
    return kind != Kind::RegeneratedText && kind != Kind::RegeneratedGroup;
}

void PolicyXmlHandler::CopyStart(const String_t& uri, const String_t& localName, bool isRoot) {
    if (depth > 1) WriteLine(depth);
    writer.OpenTag(localName);
    if (isRoot) writer.Namespace(uri);
}

/// A field always ends in its text, also behind elements inside it: the source's value must not get lost.
void PolicyXmlHandler::CopyEnd(bool isField) {
    if (leaf || isField)
        writer.Data(text.View().data(), static_cast<std::uint32_t>(text.View().size()));
    else
        WriteLine(depth + 1);
    writer.CloseTag();
}

void PolicyXmlHandler::WriteLine(int blanks) {
    constexpr int most = 64;  // what nests deeper is no policy for eyes, and its indentation would outgrow it
    std::u16string line(static_cast<std::size_t>(std::min(blanks, most)) + 1, u' ');
    line.front() = u'\n';
    writer.Data(line.data(), static_cast<std::uint32_t>(line.size()));
}

void PolicyXmlHandler::WriteLineAndOpen(int blanks, const char* tag) {
    WriteLine(blanks);
    writer.OpenTag(tag);
}

void PolicyXmlHandler::WriteLineAndClose(int blanks) {
    WriteLine(blanks);
    writer.CloseTag();
}

void PolicyXmlHandler::WriteElement(int blanks, const char* tag, const String_t& value) {
    WriteLineAndOpen(blanks, tag);
    writer.Data(value);
    writer.CloseTag();
}

void PolicyXmlHandler::RewriteCertificate() {
    text.Set(String_t::FromUtf8(sourceCertificate.View()));
    newHeader->SetCertificate(sourceCertificate);
}

/// Kept: each "data" element gets all files, so that a second one doubles them with every rewrite.
void PolicyXmlHandler::RewriteDataFiles() {
    CheckRoomForDataFiles();
    const int blanks = depth + 2;
    for (std::size_t i = 0; i < source.dataFiles.size(); ++i) {
        const PolicyDataFile& file = source.dataFiles[i];
        const String_t signature =
            i < sourceSignatures.size() ? String_t::FromUtf8(sourceSignatures[i].View()) : String_t();
        WriteElement(blanks, names::TagFileName, file.name);
        WriteElement(blanks, names::TagEncoding, file.encoding);
        WriteElement(blanks, names::TagChecksum, file.checksum);
        WriteElement(blanks, names::TagSignature, signature);
        newHeader->SetDataFile(file.name, file.encoding, file.checksum);
    }
    for (const CharArray_t& signature : sourceSignatures) newHeader->AddSignature(signature);
}

void PolicyXmlHandler::CheckRoomForDataFiles() const {
    constexpr std::size_t most = PolicyArrayReader::kMostFiles, header = 1;
    const std::size_t files = static_cast<std::size_t>(newHeader->GetDataFileCount()) + source.dataFiles.size();
    if (files + header > most)
        Raise<PolicyHeaderException>(msg::RewriteTooManyFiles, static_cast<int>(files), PolicyArrayReader::kMostFiles);
}

void PolicyXmlHandler::RewriteCategories() {
    if (IsOneTooMany(Element::Categories)) return;
    for (const String_t& category : source.categories) {
        WriteElement(depth + 2, names::TagCategory, category);
        newHeader->SetCategory(category);
    }
}

void PolicyXmlHandler::RewriteAttributes() {
    if (IsOneTooMany(Element::Attributes)) return;
    const int blanks = depth + 2;
    for (const auto& attribute : source.attributes) {
        WriteLineAndOpen(blanks, names::TagAttribute);
        WriteElement(blanks + 1, names::TagName, attribute->GetName());
        WriteElement(blanks + 1, names::TagValue, attribute->GetValue());
        WriteLineAndClose(blanks);
        newHeader->SetAttribute(attribute->GetName(), attribute->GetValue());
    }
}

/// At the end of the policy: the lists that the document did not have, empty ones too.
void PolicyXmlHandler::RewriteMissingLists() {
    ++depth;
    const auto rewrite = [this](Element element, const char* tag, Row::Step writeItems) {
        if (GetCount(element) > 0 || IsOneTooMany(Element::Policy)) return;
        WriteLineAndOpen(depth + 1, tag);
        (this->*writeItems)();
        WriteLineAndClose(depth + 1);
    };
    rewrite(Element::Categories, names::TagCategories, &PolicyXmlHandler::RewriteCategories);
    rewrite(Element::Attributes, names::TagAttributes, &PolicyXmlHandler::RewriteAttributes);
    --depth;
}

}  // namespace LumConf
