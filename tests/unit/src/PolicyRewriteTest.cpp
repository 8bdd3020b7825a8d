// Rewriting policy documents with the values of a header.
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyDocs.h"
#include "RewriteChecks.h"

namespace {

using LumConf::PolicyHeader;
using LumConf::PolicyHeaderException;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using policydocs::Count;
using policydocs::Doc;
using policydocs::ExpectEqual;
using policydocs::Holds;
using policydocs::IdRaised;
using policydocs::Parse;
using policydocs::Rewrite;

TEST(PolicyRewrite, ADocumentKeepsItsMeaning) {
    const std::string text = policydocs::TestDocument("complete_header.xml");
    const PolicyHeader header = Parse(text);
    ExpectEqual(Parse(Rewrite(text, header)), header);
}

TEST(PolicyRewrite, ASecondRewriteChangesNothingMore) {
    for (const char* name : {"complete_header.xml", "unknown_elements_header.xml"}) {
        SCOPED_TRACE(name);
        const std::string text = policydocs::TestDocument(name);
        const PolicyHeader header = Parse(text);
        const std::string once = Rewrite(text, header);
        EXPECT_EQ(Rewrite(once, header), once);
    }
}

TEST(PolicyRewrite, EveryLevelStandsBehindItsBlanks) {
    Doc doc;
    doc.categories = "<category>net</category>";
    const std::string text = doc.Text();
    EXPECT_EQ(Rewrite(text, Parse(text)),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
              "<header xmlns=\"http://lum.tessel.com/xmlns/conf/2003/04\">\n"
              "  <policy>\n"
              "   <ids>\n"
              "    <container_id>p1</container_id>\n"
              "    <version_id>v1</version_id>\n"
              "   </ids>\n"
              "   <name>First</name>\n"
              "   <version>1.0</version>\n"
              "   <description>A policy</description>\n"
              "   <status>enabled</status>\n"
              "   <owner>operator</owner>\n"
              "   <files>\n"
              "    <data>\n"
              "     <file_name>p1.dat</file_name>\n"
              "     <encoding>text/plain</encoding>\n"
              "     <checksum>c1</checksum>\n"
              "     <signature>c2ln</signature>\n"
              "    </data>\n"
              "   </files>\n"
              "   <categories>\n"
              "    <category>net</category>\n"
              "   </categories>\n"
              "   <attributes>\n"
              "    <attribute>\n"
              "     <name>os</name>\n"
              "     <value>linux</value>\n"
              "    </attribute>\n"
              "   </attributes>\n"
              "  </policy>\n"
              "  <policytype>\n"
              "   <container_id>t1</container_id>\n"
              "   <version>2.0</version>\n"
              "   <name>cron</name>\n"
              "  </policytype>\n"
              "  <certificate>Y2VydA==</certificate>\n"
              " </header>");
}

TEST(PolicyRewrite, EachValueComesFromTheSource) {
    Doc other;
    other.id = "p2", other.versionId = "v2", other.version = "9", other.description = "";
    other.name = "Se&lt;ond &amp; \xC3\xA9";
    other.status = "disabled", other.owner = "someone", other.typeId = "t2", other.typeVersion = "3";
    other.typeName = "other", other.certificate = "bmV3";
    other.files =
        "<data><file_name>a</file_name><encoding>x</encoding><checksum>1</checksum><signature>YQ==</signature>"
        "<file_name>b</file_name><encoding>y</encoding><checksum>2</checksum><signature>Yg==</signature></data>";
    other.categories = "<category>only</category>";
    other.attributes = "<attribute><name>k</name><value>x=y</value></attribute>";
    const PolicyHeader source = Parse(other.Text());
    ExpectEqual(Parse(Rewrite(Doc().Text(), source)), source);
}

TEST(PolicyRewrite, UpperCaseIdsAreWrittenInLowerCase) {
    Doc doc;
    doc.id = "ABC", doc.typeName = "CRON", doc.versionId = "V", doc.typeId = "T";
    const std::string out = Rewrite(doc.Text(), Parse(doc.Text()));
    for (const char* part : {"<container_id>abc<", "<version_id>v<", "<name>cron<", "<container_id>t<"})
        EXPECT_TRUE(Holds(out, part)) << part;
}

TEST(PolicyRewrite, UnknownElementsAreKeptWithTheirChildrenAndTexts) {
    const std::string text = policydocs::TestDocument("unknown_elements_header.xml");
    const std::string out = Rewrite(text, Parse(text));
    for (const char* part :
         {"<line>first</line>", "<line>second &lt;2&gt;</line>", "<legacy_id>77</legacy_id>", "<by>a person</by>",
          "<name>not the name</name>", "<more>m</more>", "<size>12</size>", "<vendor>v</vendor>"})
        EXPECT_EQ(Count(out, part), 1) << part;
    EXPECT_FALSE(Holds(out, "attribute goes"));
    EXPECT_FALSE(Holds(out, "comments go"));
}

TEST(PolicyRewrite, TextBetweenElementsIsDropped) {
    Doc doc;
    doc.inPolicy = "stray<x>kept<y>inner</y>dropped</x>stray";
    const std::string out = Rewrite(doc.Text(), Parse(doc.Text()));
    EXPECT_FALSE(Holds(out, "stray"));
    EXPECT_FALSE(Holds(out, "kept"));
    EXPECT_FALSE(Holds(out, "dropped"));
    EXPECT_TRUE(Holds(out, "<y>inner</y>"));
}

TEST(PolicyRewrite, TheDocumentKeepsItsOwnNamespace) {
    Doc doc;
    doc.nameSpace = "http://lum.tessel.com/xmlns/conf/2019/11";
    const std::string out = Rewrite(doc.Text(), Parse(doc.Text()));
    EXPECT_EQ(Count(out, "xmlns=\"http://lum.tessel.com/xmlns/conf/2019/11\""), 1);
    EXPECT_FALSE(Holds(out, "2003/04"));
}

TEST(PolicyRewrite, MissingListsAreAlwaysWritten) {
    for (const bool sourceHasThem : {true, false}) {
        Doc full, bare;
        bare.without = {"categories", "attributes"};
        const PolicyHeader source = Parse(sourceHasThem ? full.Text() : bare.Text());
        const std::string out = Rewrite(bare.Text(), source);
        EXPECT_EQ(Count(out, "<categories>"), 1);
        EXPECT_EQ(Count(out, "<attributes>"), 1);
        EXPECT_TRUE(out.find("<categories>") < out.find("<attributes>"));
        EXPECT_TRUE(out.find("<attributes>") < out.find("</policy>"));
        ExpectEqual(Parse(out), source);
        EXPECT_TRUE(Holds(out, "\n   <categories>\n"));
        EXPECT_TRUE(Holds(out, "\n   </attributes>\n  </policy>"));
    }
}

TEST(PolicyRewrite, ListsOfTheDocumentGiveWayToThoseOfTheSource) {
    const PolicyHeader source = Parse(Doc().Text());
    source.GetImpl()->RemoveAllCategories();
    source.GetImpl()->RemoveAllAttributes();
    const std::string out = Rewrite(Doc().Text(), source);
    EXPECT_FALSE(Holds(out, "<category>"));
    EXPECT_FALSE(Holds(out, "<attribute>"));
    EXPECT_EQ(Count(out, "<categories>"), 1);
    ExpectEqual(Parse(out), source);
}

TEST(PolicyRewrite, OtherCountsOfSignaturesAndDataFilesFail) {
    const struct {
        const char* name;
        const char* files;
        bool fails;
    } rows[] = {
        {"one each", "<data><file_name>f</file_name><signature>YQ==</signature></data>", false},
        {"an empty signature counts", "<data><file_name>f</file_name><signature/></data>", false},
        {"two signatures for one file",
         "<data><file_name>f</file_name><signature>YQ==</signature><signature>Yg==</signature></data>", true},
        {"no signature", "<data><file_name>f</file_name></data>", true},
        {"a signature without a file", "<data><signature>YQ==</signature></data>", true},
        {"neither", "<data/>", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Doc doc;
        doc.files = row.files;
        const PolicyHeader source = Parse(doc.Text());
        const unsigned id = IdRaised<PolicyHeaderException>([&] { Rewrite(doc.Text(), source); });
        EXPECT_EQ(id, row.fails ? 84u : 9999u);
    }
}

Doc WithTwoDataElements() {
    Doc doc;
    doc.files =
        "<data><file_name>a</file_name><signature>YQ==</signature></data>"
        "<data><file_name>b</file_name><signature>Yg==</signature></data>";
    return doc;
}

TEST(PolicyRewrite, EachDataElementGetsAllFiles) {
    const std::string text = WithTwoDataElements().Text();
    const PolicyHeader source = Parse(text);
    ASSERT_EQ(source.GetDataFileCount(), 2);
    const std::string once = Rewrite(text, source);
    const PolicyHeader written = Parse(once);
    ASSERT_EQ(written.GetDataFileCount(), 4);
    ASSERT_EQ(written.GetImpl()->GetSignatureCount(), 4);
    const char* const names[] = {"a", "b", "a", "b"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(written.GetDataFile(i), names[i]);
        EXPECT_EQ(written.GetImpl()->GetRawSignature(i), source.GetImpl()->GetRawSignature(i % 2));
    }
    EXPECT_EQ(once.find("<data>\n    </data>"), std::string::npos);
    EXPECT_EQ(Parse(Rewrite(once, written)).GetDataFileCount(), 8);
}

std::string FilesNamed(int count) {
    std::string files;
    for (int i = 0; i < count; ++i) files += "<file_name>f" + std::to_string(i) + "</file_name><signature/>";
    return files;
}

TEST(PolicyRewrite, ADocumentThatWouldPassTheLimitOnFilesIsNotRewritten) {
    // The header counts as one of the 10,000 files of a policy.
    const struct {
        const char* name;
        int filesOfSource, dataElements;
        bool fails;
    } rows[] = {
        {"the most files", 9999, 1, false},          {"one more", 10000, 1, true},
        {"doubled up to the limit", 4999, 2, false}, {"doubled beyond it", 5000, 2, true},
        {"three times up to it", 3333, 3, false},    {"many elements", 1, 10000, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Doc doc;
        doc.files = "<data>" + FilesNamed(row.filesOfSource) + "</data>";
        const PolicyHeader source = Parse(doc.Text());
        for (int i = 1; i < row.dataElements; ++i) doc.files += "<data/>";
        const auto failure = policydocs::Raised<PolicyHeaderException>([&] { Rewrite(doc.Text(), source); });
        ASSERT_EQ(failure.has_value(), row.fails);
        EXPECT_EQ(row.fails, failure && failure->Says("at most '10000' files"));
    }
}

TEST(PolicyRewrite, OfTwoPolicyElementsTheLastOneWins) {
    Doc doc;
    const std::string element = "<policy><ids><container_id>P2</container_id></ids><name>Second</name></policy>";
    doc.inHeader = element;
    const PolicyHeader header = Parse(doc.Text());
    EXPECT_EQ(header.GetContainerId(), "p2");
    EXPECT_EQ(header.GetName(), "Second");
    EXPECT_EQ(header.GetVersion(), "1.0");
    const PolicyHeader again = Parse(Rewrite(doc.Text(), header));
    EXPECT_EQ(again.GetContainerId(), "p2");
    EXPECT_EQ(again.GetName(), "Second");
}

TEST(PolicyRewrite, WhatStandsInsideARegeneratedElementGoesAndLeavesTheDocumentWhole) {
    Doc doc;
    doc.categories = "<category>net<x>1<y>2</y></x></category><keep>k</keep><category>disk</category>";
    doc.attributes = "<attribute><x/><name>os</name><value>linux</value><z><name>n</name></z></attribute>";
    doc.files =
        "<data><file_name>f<x/>f</file_name><encoding/><checksum/><signature>c2ln<x/>c2ln</signature><keep>k</keep></"
        "data>";
    const PolicyHeader source = Parse(Doc().Text());
    const std::string out = Rewrite(doc.Text(), source);
    ExpectEqual(Parse(out), source);
    EXPECT_EQ(Count(out, "<keep>k</keep>"), 2);
    EXPECT_FALSE(Holds(out, "<x>"));
    EXPECT_FALSE(Holds(out, "<z>"));
}

TEST(PolicyRewrite, AFieldWithElementsInsideKeepsTheSourcesValue) {
    Doc doc;
    doc.status = "ena<x>1</x>bled";
    doc.name = "<x/>";
    const PolicyHeader source = Parse(Doc().Text());
    source.SetDisabled();
    const std::string out = Rewrite(doc.Text(), source);
    ExpectEqual(Parse(out), source);
    EXPECT_TRUE(Holds(out, "<x>1</x>disabled</status>"));
}

TEST(PolicyRewrite, RequiredElementsAreDemandedToo) {
    Doc doc;
    doc.without = {"owner"};
    const PolicyHeader source = Parse(Doc().Text());
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Rewrite(doc.Text(), source); }), 77u);
    doc.without = {"policy"};
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Rewrite(doc.Text(), source); }), 73u);
}

TEST(PolicyRewrite, AForeignNamespaceFails) {
    Doc doc;
    doc.nameSpace = "urn:other";
    const PolicyHeader source = Parse(Doc().Text());
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Rewrite(doc.Text(), source); }), 86u);
}

TEST(PolicyRewrite, ANullSourceIsRefused) {
    LumConf::PolicyXmlHandler handler;
    const LumPalXml::XmlWriter_t writer{LumPalIo::CharArrayOutputStream_t()};
    EXPECT_EQ(IdRaised<IllegalStateError_t>([&] { handler.StartRewriting(writer, nullptr); }), 87u);
    EXPECT_FALSE(handler.IsInitialized());
}

TEST(PolicyRewrite, TheHandlerHoldsTheHeaderThatWasWritten) {
    const std::string text = policydocs::TestDocument("complete_header.xml");
    const PolicyHeader source = Parse(text);
    LumPalIo::CharArrayOutputStream_t out;
    LumConf::PolicyXmlHandler handler;
    handler.StartRewriting(LumPalXml::XmlWriter_t(out), source.GetImpl());
    LumConf::PolicyXmlParser::Parse(policydocs::StreamOf(text), handler);
    ExpectEqual(PolicyHeader(handler.TakeHeader().Get()), source);
}

TEST(PolicyRewrite, DeepUnknownElementsDoNotOutgrowTheirIndentation) {
    Doc doc;
    const int levels = 900;
    for (int i = 0; i < levels; ++i) doc.inPolicy += "<a>";
    for (int i = 0; i < levels; ++i) doc.inPolicy += "</a>";
    const std::string out = Rewrite(doc.Text(), Parse(doc.Text()));
    EXPECT_EQ(Count(out, "<a>"), levels);
    EXPECT_LT(out.size(), levels * 150u);
}

}  // namespace
