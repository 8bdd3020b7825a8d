// Policy documents and files that cannot be read, and handlers in the wrong state.
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyDocs.h"
#include "TempRoot.h"

namespace {

using LumConf::PolicyHeader;
using LumConf::PolicyHeaderException;
using LumConf::PolicyXmlHandler;
using LumPalIo::File_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using policydocs::Doc;
using policydocs::IdRaised;
using policydocs::Parse;
using policydocs::PolicyFile;

TEST(PolicyReaderFailure, ABadAttributeNameFailsTheDocument) {
    const struct {
        const char* attribute;
        unsigned id;
    } rows[] = {{"<attribute><name>a=b</name><value>v</value></attribute>", 71},
                {"<attribute><name> </name><value>v</value></attribute>", 70},
                {"<attribute><value>v</value></attribute>", 70},
                {"<attribute/>", 70}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.attribute);
        Doc doc;
        doc.attributes = row.attribute;
        EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { Parse(doc.Text()); }), row.id);
        const policydocs::Failure failure = PolicyFile(doc.Text()).ReadFailure();
        EXPECT_EQ(failure.Id(), 90u);
        EXPECT_TRUE(failure.HasDetail(row.id));
    }
}

TEST(PolicyReaderFailure, AnAttributeMaySupplyTheVersionId) {
    Doc doc;
    doc.without = {"version_id"};
    doc.attributes = "<attribute><name>version_id</name><value>ABC</value></attribute>";
    EXPECT_EQ(Parse(doc.Text()).GetVersionId(), "abc");
}

TEST(PolicyReaderFailure, AMissingFileIsToldAsOne) {
    const TempRoot root;
    const File_t file(root.Path("none_header.xml"));
    const auto failure = policydocs::Raised<LumPalIo::FileNotFoundException_t>([&] { PolicyHeader::Read(file); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 89u);
    EXPECT_TRUE(failure->Says("none_header.xml"));
}

TEST(PolicyReaderFailure, AFolderCannotBeRead) {
    const TempRoot root;
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { PolicyHeader::Read(File_t(root.Path())); }), 90u);
}

TEST(PolicyReaderFailure, AMalformedFileIsToldWithItsPlace) {
    const PolicyFile file("<a>\n  <b>\n</a>");
    const policydocs::Failure failure = file.ReadFailure();
    EXPECT_EQ(failure.Id(), 88u);
    EXPECT_TRUE(failure.Says("p_header.xml"));
    EXPECT_TRUE(failure.Says("line '3'"));
    EXPECT_FALSE(failure.detailIds.empty());
}

TEST(PolicyReaderFailure, AParseFromMemoryPassesItsFailureUnchanged) {
    EXPECT_THROW(Parse("<a>"), LumPalXml::SAX::SAXParseException_t);
    EXPECT_THROW(Parse(""), LumPalXml::SAX::SAXParseException_t);
}

TEST(PolicyReaderFailure, ANullStreamIsNotParsed) {
    PolicyXmlHandler handler;
    EXPECT_NO_THROW(LumConf::PolicyXmlParser::Parse(LumPalIo::InputStream_t(), handler));
}

TEST(PolicyReaderFailure, AHandlerThatWasNotStartedRefusesADocument) {
    PolicyXmlHandler handler;
    EXPECT_FALSE(handler.IsInitialized());
    const std::string text = Doc().Text();
    const auto parse = [&] { LumConf::PolicyXmlParser::Parse(policydocs::StreamOf(text), handler); };
    EXPECT_EQ(IdRaised<IllegalStateError_t>(parse), 72u);
    handler.StartReading();
    EXPECT_TRUE(handler.IsInitialized());
    EXPECT_NO_THROW(parse());
    handler.TakeHeader();
    EXPECT_FALSE(handler.IsInitialized());
    EXPECT_EQ(IdRaised<IllegalStateError_t>(parse), 72u);
}

TEST(PolicyReaderFailure, AHeaderIsHandedOverOnce) {
    PolicyXmlHandler handler;
    EXPECT_EQ(IdRaised<IllegalStateError_t>([&] { handler.TakeHeader(); }), 87u);
    handler.StartReading();
    EXPECT_TRUE(handler.TakeHeader());
    EXPECT_EQ(IdRaised<IllegalStateError_t>([&] { handler.TakeHeader(); }), 87u);
}

TEST(PolicyReaderFailure, OneHandlerReadsOneDocumentAfterAnother) {
    PolicyXmlHandler handler;
    handler.StartReading();
    EXPECT_ANY_THROW(LumConf::PolicyXmlParser::Parse(policydocs::StreamOf("<header><policy><x>"), handler));
    Doc doc;
    doc.without = {"categories"};
    handler.StartReading();
    LumConf::PolicyXmlParser::Parse(policydocs::StreamOf(doc.Text()), handler);
    const auto header = handler.TakeHeader();
    EXPECT_EQ(header->GetContainerId(), "p1");
    EXPECT_EQ(header->GetCategoryCount(), 0);
}

}  // namespace
