/// @file
/// Reads a policy document, or rewrites it with the values of a header.
#pragma once

#include <array>
#include <vector>

#include "CollectedText.h"
#include "LumPalArray.h"
#include "LumPalMsg.h"
#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "LumPalXml.h"
#include "PolicyDocument.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// The SAX handler of policy documents; PolicyDocument.cpp shows the document as a table.
///
/// Reading builds a header. Rewriting streams the document to a writer, with the values of a source header in place
/// of the document's, and keeps elements that it does not know (their attributes and comments are dropped). A known
/// tag counts only at its place in the document; everywhere else it is an unknown one. Of a value or a list that stands
/// there more than kMostRepeats times the further elements are left out, or come out empty.
/// Used by one thread, for one document after another.
class PolicyXmlHandler final : public LumPalXml::SAX::DefaultHandler_t {
public:
    PolicyXmlHandler() = default;
    ~PolicyXmlHandler() override;
    PolicyXmlHandler(const PolicyXmlHandler&) = delete;
    PolicyXmlHandler& operator=(const PolicyXmlHandler&) = delete;

    /// @param tolerance  as PolicyHeader::Read
    void StartReading(unsigned long tolerance = 0);
    /// Reads likewise, but no missing element is an error: GetMissing tells of all of them.
    void StartChecking();
    const LumPalMsg::MessageList_t& GetMissing() const noexcept { return missing; }

    /// Where an element begins, from 1; 0 for nowhere.
    struct Place {
        int line = 0, column = 0;
    };
    struct Fault {
        Place place;
        LumPalMsg::Message_t message;
    };
    /// Reads likewise, and what else would end it, but for a broken document, is no error either: GetFaults tells of
    /// all of it, each with its place; of a missing element it is that of the one that should hold it.
    void StartFinding();
    const std::vector<Fault>& GetFaults() const noexcept { return faults; }
    /// Of the last element of that kind, not None.
    Place GetPlace(document::Element element) const { return places[static_cast<std::size_t>(element)]; }
    /// Of the name of a data file, as the header counts them; known behind StartFinding alone.
    Place GetDataFilePlace(std::size_t index) const {
        return index < dataFilePlaces.size() ? dataFilePlaces[index] : Place();
    }
    using HeaderPtr = LumPalPtr::RefPtr_t<PolicyHeaderImpl>;

    /// How often a known element, not None, has stood at its place.
    int GetCount(document::Element element) const { return counts[static_cast<std::size_t>(element)]; }
    /// @param source  not owned; its values are taken now. @throws LumPalMsg::IllegalStateError_t XmlHandlerNull for
    /// null
    void StartRewriting(const LumPalXml::XmlWriter_t& writer, const PolicyHeaderImpl* source);
    bool IsInitialized() const noexcept { return mode != Mode::NotInitialized; }
    /// Hands over the header that was built; the handler is then not initialized.
    /// @throws LumPalMsg::IllegalStateError_t XmlHandlerNull when there is none
    LumPalPtr::RefPtr_t<PolicyHeaderImpl> TakeHeader();

    void SetDocumentLocator(const LumPalXml::SAX::Locator_i* where) override { locator = where; }
    /// @throws LumPalMsg::IllegalStateError_t XmlHandlerNotInitialized when neither reading nor rewriting was started
    void StartDocument() override;
    /// @throws PolicyHeaderException for the first missing element, XmlSignatureCount after a rewrite
    void EndDocument() override;
    /// @throws PolicyHeaderException XmlNamespaceNotCorrect for a root of a foreign namespace
    void StartElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                      const LumPalStr::String_t& qName, const LumPalXml::SAX::Attributes_i& attributes) override;
    /// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty, AttributeWithBadText for a bad attribute name
    void EndElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& qName) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;

private:
    friend struct document::Table;
    enum class Mode { NotInitialized = 0, Reading = 1, Rewriting = 2 };
    using Element = document::Element;

    /// Elements of one kind that a rewrite fills with the source's value, or its list. Every one of very many would
    /// make a document as long as their number times the value.
    static constexpr int kMostRepeats = 16;

    void Reset();
    LumPalStr::String_t Text() const { return text.Get(); }
    bool IsInsideUnknown() const noexcept { return unknownDepth != 0; }
    bool IsCopied() const noexcept;
    bool IsOneTooMany(Element element) const { return GetCount(element) > kMostRepeats; }
    bool IsTextWanted() const noexcept;
    void TestNamespace(const LumPalStr::String_t& uri) const;
    void NotePlace(document::Element element);
    Place PlaceAround(document::Element element) const;
    template <class Step>
    void TryStep(document::Element element, Step step);
    void TestRequiredElements();

    // Reading: what the end tags of the table do.
    void EndKnown(const document::Row& row);
    void EndField(const document::Row& row);
    void ReadFileName();
    void ReadEncoding();
    void ReadChecksum();
    void ReadSignature();
    void ReadCategory();
    void ReadAttribute();
    void ReadAttributeName();
    void ReadAttributeValue();
    void ReadCertificate();

    // Rewriting: likewise, and the pieces of the output.
    void RewriteCertificate();
    void RewriteDataFiles();
    void CheckRoomForDataFiles() const;
    void RewriteCategories();
    void RewriteAttributes();
    void RewriteMissingLists();
    void CopyStart(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName, bool isRoot);
    void CopyEnd(bool isField);
    void WriteLineAndOpen(int blanks, const char* tag);
    void WriteElement(int blanks, const char* tag, const LumPalStr::String_t& value);
    void WriteLineAndClose(int blanks);
    void WriteLine(int blanks);

    Mode mode = Mode::NotInitialized;
    unsigned long tolerance = 0;
    bool collects = false;  ///< missing elements are collected, not raised
    bool finds = false;     ///< with all else that is wrong
    std::vector<Fault> faults;
    std::array<Place, document::kElementCount> places{};
    std::vector<Place> dataFilePlaces;
    const LumPalXml::SAX::Locator_i* locator = nullptr;  ///< not owned; valid while the parser runs
    LumPalMsg::MessageList_t missing;
    std::array<int, document::kElementCount> counts{};
    Element place = Element::None;  ///< the innermost open element that is known
    int unknownDepth = 0;           ///< open elements inside it that are not
    int depth = 0;                  ///< all open elements
    CollectedText text;             ///< since the last tag
    LumPalStr::String_t attributeName, attributeValue;
    LumPalPtr::RefPtr_t<PolicyHeaderImpl> newHeader;

    // Rewriting only.
    LumPalXml::XmlWriter_t writer;
    bool leaf = false;  ///< no element has ended since the last start tag
    PolicyRecord source;
    LumPalArray::CharArray_t sourceCertificate;
    std::vector<LumPalArray::CharArray_t> sourceSignatures;
};

}  // namespace LumConf
