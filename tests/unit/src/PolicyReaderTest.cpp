// Reading policy documents.
#include <gtest/gtest.h>

#include <mutex>

#include "Exceptions.h"
#include "LumPalTrc.h"
#include "PolicyDocs.h"

namespace {

using LumConf::PolicyHeader;
using LumConf::PolicyHeaderException;
using LumPalStr::String_t;
using policydocs::Doc;
using policydocs::IdRaised;
using policydocs::Parse;
using policydocs::PolicyFile;

TEST(PolicyReader, ACompleteDocumentFillsEveryField) {
    const PolicyFile file(policydocs::TestDocument("complete_header.xml"));
    const PolicyHeader header = PolicyHeader::Read(file.File());
    EXPECT_EQ(header.GetContainerId(), "f00d-01");
    EXPECT_EQ(header.GetVersionId(), "f00d-01-v3");
    EXPECT_EQ(header.GetName(), String_t::FromUtf8("Überwachung der Größe"));
    EXPECT_EQ(header.GetVersion(), "3.1");
    EXPECT_EQ(header.GetDescription(), String_t::FromUtf8("Checks file systems & swap: warn at > 80 %, 警告"));
    EXPECT_TRUE(header.IsEnabled());
    EXPECT_EQ(header.GetOwner(), "operations");
    EXPECT_EQ(header.GetTypeId(), "type-9");
    EXPECT_EQ(header.GetTypeVersion(), "1.2");
    EXPECT_EQ(header.GetTypeName(), "monitor");
    EXPECT_EQ(header.GetCertificate().View(), "certificate");
}

TEST(PolicyReader, ACompleteDocumentFillsEveryList) {
    const PolicyHeader header = Parse(policydocs::TestDocument("complete_header.xml"));
    ASSERT_EQ(header.GetDataFileCount(), 2);
    EXPECT_EQ(header.GetDataFile(0), "sizes.cfg");
    EXPECT_EQ(header.GetDataFileChecksum(0), "d41d8cd9");
    EXPECT_EQ(header.GetDataFile(1), "swap.bin");
    EXPECT_EQ(header.GetDataFileEncoding(1), "application/octet-stream");
    EXPECT_EQ(header.GetSignature(0).View(), "first");
    EXPECT_EQ(header.GetSignature(1).View(), "second");
    ASSERT_EQ(header.GetCategoryCount(), 2);
    EXPECT_EQ(header.GetCategory(1), "memory");
    ASSERT_EQ(header.GetAttributesCount(), 2);
    EXPECT_EQ(header.GetAttribute(1).GetName(), "os");
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "aix");
}

struct RequiredRow {
    const char* element;
    unsigned id;
    unsigned long tolerance;  ///< 0: nothing excuses it
};
const RequiredRow kRequired[] = {
    {"policy", 73, 0},        {"ids", 74, 0},           {"container_id", 75, 0x002}, {"name", 76, 0x004},
    {"owner", 77, 0x008},     {"version", 78, 0x010},   {"description", 79, 0x020},  {"status", 80, 0x040},
    {"policytype", 81, 0x80}, {"type/name", 82, 0x100}, {"certificate", 83, 0x200},
};
constexpr unsigned long kAllBits = 0x3fe;

TEST(PolicyReader, EachMissingElementHasItsNumber) {
    for (const RequiredRow& row : kRequired) {
        SCOPED_TRACE(row.element);
        Doc doc;
        doc.without = {row.element};
        EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text()); }), row.id);
        const policydocs::Failure failure = PolicyFile(doc.Text()).ReadFailure();
        EXPECT_EQ(failure.Id(), 90u);
        EXPECT_TRUE(failure.HasDetail(row.id));
    }
}

TEST(PolicyReader, EachToleranceBitExcusesItsElementAndNoOther) {
    for (const RequiredRow& row : kRequired) {
        SCOPED_TRACE(row.element);
        Doc doc;
        doc.without = {row.element};
        const unsigned long others = kAllBits & ~row.tolerance;
        if (row.tolerance == 0) {
            EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text(), ~0ul); }), row.id);
        } else if (row.id == 81) {
            EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text(), row.tolerance); }), 82u);
            EXPECT_NO_THROW(Parse(doc.Text(), row.tolerance | 0x100));
            EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text(), others); }), row.id);
        } else {
            EXPECT_NO_THROW(Parse(doc.Text(), row.tolerance));
            EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text(), others); }), row.id);
        }
    }
}

TEST(PolicyReader, TheFirstMissingElementIsToldInAFixedOrder) {
    Doc doc;
    for (int i = static_cast<int>(std::size(kRequired)) - 1; i >= 0; --i) {
        SCOPED_TRACE(kRequired[i].element);
        doc.without.insert(kRequired[i].element);
        EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text()); }), kRequired[i].id);
    }
}

TEST(PolicyReader, ElementsThatAreNotRequiredMayBeMissing) {
    for (const char* element : {"version_id", "files", "categories", "attributes"}) {
        SCOPED_TRACE(element);
        Doc doc;
        doc.without = {element};
        EXPECT_NO_THROW(Parse(doc.Text()));
    }
    Doc type;
    type.typeId = type.typeVersion = "";
    EXPECT_NO_THROW(Parse(type.Text()));
}

TEST(PolicyReader, EmptyIdsAreAcceptedWhenTheIdIsExcused) {
    Doc doc;
    doc.without = {"container_id", "version_id"};
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text()); }), 75u);
    EXPECT_EQ(Parse(doc.Text(), 0x002).GetContainerId(), "");
    doc.without = {"ids"};
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text(), 0x002); }), 74u);
}

TEST(PolicyReader, WhatIsMissingStaysEmptyTheStatusToo) {
    Doc doc;
    doc.without = {"status", "version_id", "attributes"};
    const PolicyHeader header = Parse(doc.Text(), 0x040);
    EXPECT_EQ(header.GetStatus(), "");
    EXPECT_FALSE(header.IsEnabled());
    EXPECT_EQ(header.GetVersionId(), "");
}

TEST(PolicyReader, ARootThatIsNoHeaderFailsForItsMissingPolicy) {
    const std::string text = "<other xmlns='urn:whatever'><policy><ids/></policy></other>";
    EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(text, ~0ul); }), 73u);
    const policydocs::Failure failure = PolicyFile(text).ReadFailure(~0ul);
    EXPECT_EQ(failure.Id(), 90u);
    EXPECT_TRUE(failure.HasDetail(73));
    EXPECT_FALSE(failure.HasDetail(86));
}

TEST(PolicyReader, OnlyTheFamilyOfNamespacesIsAccepted) {
    const struct {
        const char* nameSpace;
        bool accepted;
    } rows[] = {
        {"http://lum.tessel.com/xmlns/conf/2003/04", true},
        {"http://lum.tessel.com/xmlns/conf/2019/11", true},
        {"http://lum.tessel.com/xmlns/conf/", true},
        {"http://lum.tessel.com/xmlns/conf", false},
        {"http://lum.tessel.com/xmlns/CONF/2003/04", false},
        {" http://lum.tessel.com/xmlns/conf/2003/04", false},
        {"urn:other", false},
        {"", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.nameSpace);
        Doc doc;
        doc.nameSpace = row.nameSpace;
        if (row.accepted) {
            EXPECT_EQ(Parse(doc.Text()).GetContainerId(), "p1");
            continue;
        }
        EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text()); }), 86u);
        const policydocs::Failure failure = PolicyFile(doc.Text()).ReadFailure();
        EXPECT_EQ(failure.Id(), 90u);
        EXPECT_TRUE(failure.HasDetail(86));
        EXPECT_TRUE(failure.Says("Namespace from policy '" + std::string(row.nameSpace) + "'"));
        EXPECT_TRUE(failure.Says("http://lum.tessel.com/xmlns/conf/2003/04"));
    }
}

TEST(PolicyReader, TheNamespaceOfAnotherYearIsToldInTheTraceAlone) {
    for (const bool other : {false, true}) {
        std::mutex mutex;
        std::string lines;
        const LumPalTrc::ScopedListener_t listener([&](const char*, int, const String_t& text) {
            const std::lock_guard lock(mutex);
            lines += text.ToUtf8() + "\n";
        });
        Doc doc;
        if (other) doc.nameSpace = "http://lum.tessel.com/xmlns/conf/2019/11";
        Parse(doc.Text());
        EXPECT_EQ(lines.find("possibly from a different version") != std::string::npos, other);
    }
}

TEST(PolicyReader, TheNamespaceIsTestedOnTheRootOnly) {
    Doc doc;
    doc.inPolicy = "<extra xmlns='urn:other'/>";
    std::string text = doc.Text();
    text.replace(text.find("<owner>"), 7, "<owner xmlns='urn:another'>");
    EXPECT_EQ(Parse(text).GetOwner(), "operator");
}

TEST(PolicyReader, APrefixMakesNoDifference) {
    const std::string text = "<h:header xmlns:h='" + policydocs::kNamespace +
                             "'><h:policy><h:ids><h:container_id>X</h:container_id></h:ids></h:policy></h:header>";
    EXPECT_EQ(Parse(text, kAllBits).GetContainerId(), "x");
}

TEST(PolicyReader, XmlAttributesAreIgnored) {
    std::string text = Doc().Text();
    text.replace(text.find("<name>"), 6, "<name lang='en' name='other'>");
    EXPECT_EQ(Parse(text).GetName(), "First");
}

TEST(PolicyReader, AKnownTagCountsOnlyAtItsPlace) {
    const struct {
        const char* name;
        void (*change)(Doc&);
        unsigned id;
    } rows[] = {
        {"name inside ids", [](Doc& d) { d.without = {"name"}, d.inIds = "<name>n</name>"; }, 76},
        {"name at the root", [](Doc& d) { d.without = {"name"}, d.inHeader = "<name>n</name>"; }, 76},
        {"container_id beside ids",
         [](Doc& d) { d.without = {"container_id"}, d.inPolicy = "<container_id>n</container_id>"; }, 75},
        {"container_id of the type alone", [](Doc& d) { d.without = {"container_id"}; }, 75},
        {"owner inside an unknown element",
         [](Doc& d) { d.without = {"owner"}, d.inPolicy = "<x><owner>n</owner></x>"; }, 77},
        {"a policy inside the policy",
         [](Doc& d) { d.without = {"owner"}, d.inPolicy = "<policy><owner>n</owner></policy>"; }, 77},
        {"ids inside the name",
         [](Doc& d) { d.without = {"ids"}, d.name = "<ids><container_id>n</container_id></ids>"; }, 74},
        {"policytype inside the policy",
         [](Doc& d) { d.without = {"policytype"}, d.inPolicy = "<policytype><name>n</name></policytype>"; }, 81},
        {"certificate inside the policytype's sibling",
         [](Doc& d) { d.without = {"certificate"}, d.inHeader = "<x><certificate>n</certificate></x>"; }, 83},
        {"a name of the policy in the policytype's place", [](Doc& d) { d.without = {"type/name"}; }, 82},
        {"status inside the files",
         [](Doc& d) { d.without = {"status"}, d.files = "<status>enabled</status>" + d.files; }, 80},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Doc doc;
        row.change(doc);
        EXPECT_EQ(IdRaised<PolicyHeaderException>([&] { Parse(doc.Text()); }), row.id);
    }
}

TEST(PolicyReader, UnknownElementsAreIgnoredWithAllTheyHold) {
    const PolicyHeader header = Parse(policydocs::TestDocument("unknown_elements_header.xml"));
    EXPECT_EQ(header.GetContainerId(), "u1");
    EXPECT_EQ(header.GetName(), "Unknown");
    EXPECT_EQ(header.GetDataFileCount(), 1);
    EXPECT_EQ(header.GetTypeName(), "cron");
    EXPECT_EQ(header.GetCategoryCount(), 0);
}

TEST(PolicyReader, OfTwoEqualElementsTheLastWins) {
    Doc doc;
    doc.inIds = "<version_id>SECOND</version_id>";
    doc.inPolicy = "<name>Second</name><owner>another</owner>";
    const PolicyHeader header = Parse(doc.Text());
    EXPECT_EQ(header.GetVersionId(), "second");
    EXPECT_EQ(header.GetName(), "Second");
    EXPECT_EQ(header.GetOwner(), "another");
}

TEST(PolicyReader, TextIsNeverTrimmed) {
    Doc doc;
    doc.status = " enabled ";
    doc.name = "\n two  lines\n ";
    const PolicyHeader header = Parse(doc.Text());
    EXPECT_EQ(header.GetStatus(), " enabled ");
    EXPECT_FALSE(header.IsEnabled());
    EXPECT_FALSE(header.IsDisabled());
    EXPECT_EQ(header.GetName(), "\n two  lines\n ");
}

TEST(PolicyReader, AnyStatusIsKept) {
    Doc doc;
    doc.status = "Paused";
    EXPECT_EQ(Parse(doc.Text()).GetStatus(), "Paused");
    doc.status = "";
    EXPECT_EQ(Parse(doc.Text()).GetStatus(), "");
}

TEST(PolicyReader, EntitiesAndSectionsArriveResolved) {
    Doc doc;
    doc.name = "a&lt;b&gt;&amp;&#233;<![CDATA[<c>]]>";
    EXPECT_EQ(Parse(doc.Text()).GetName(), String_t::FromUtf8("a<b>&é<c>"));
}

TEST(PolicyReader, OnlyTheTextBehindTheLastTagCounts) {
    Doc doc;
    doc.name = "before<x>inside</x>behind";
    EXPECT_EQ(Parse(doc.Text()).GetName(), "behind");
}

TEST(PolicyReader, MoreSignaturesThanFilesAreNoFaultOfAReading) {
    Doc doc;
    doc.files = "<data><file_name>f</file_name><signature>YQ==</signature><signature>Yg==</signature></data>";
    const PolicyHeader header = Parse(doc.Text());
    EXPECT_EQ(header.GetDataFileCount(), 1);
    EXPECT_EQ(header.GetImpl()->GetSignatureCount(), 2);
}

TEST(PolicyReader, DataFilesAreTakenInDocumentOrder) {
    const struct {
        const char* files;
        std::vector<const char*> names, encodings, checksums;
    } rows[] = {
        {"<data/>", {}, {}, {}},
        {"", {}, {}, {}},
        {"<data><encoding>lost</encoding><checksum>lost</checksum><file_name>a</file_name></data>",
         {"a"},
         {"text/plain"},
         {""}},
        {"<data><file_name>a</file_name></data><data><file_name>b</file_name><encoding>x</encoding></data>",
         {"a", "b"},
         {"text/plain", "x"},
         {"", ""}},
        {"<data><file_name>a</file_name><file_name>b</file_name><checksum>1</checksum><checksum>2</checksum></data>",
         {"a", "b"},
         {"text/plain", "text/plain"},
         {"", "2"}},
        {"<data><file_name>a</file_name><encoding> </encoding></data>", {"a"}, {"text/plain"}, {""}},
        {"<file_name>misplaced</file_name>", {}, {}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.files);
        Doc doc;
        doc.files = row.files;
        const PolicyHeader header = Parse(doc.Text());
        ASSERT_EQ(header.GetDataFileCount(), static_cast<int>(row.names.size()));
        for (int i = 0; i < header.GetDataFileCount(); ++i) {
            const auto at = static_cast<std::size_t>(i);
            EXPECT_EQ(header.GetDataFile(i), row.names[at]);
            EXPECT_EQ(header.GetDataFileEncoding(i), row.encodings[at]);
            EXPECT_EQ(header.GetDataFileChecksum(i), row.checksums[at]);
        }
    }
}

TEST(PolicyReader, RepeatedCategoriesAndAttributesAreDropped) {
    Doc doc;
    doc.categories = "<category>a</category><category>a</category><category></category><category> a</category>";
    doc.attributes =
        "<attribute><name>n</name><value>v</value></attribute><attribute><name> n </name><value>v </value></attribute>";
    const PolicyHeader header = Parse(doc.Text());
    EXPECT_EQ(header.GetCategoryCount(), 2);
    EXPECT_EQ(header.GetAttributesCount(), 1);
}

TEST(PolicyReader, AnAttributeWithoutItsOwnValueTakesNoneOfItsNeighbour) {
    Doc doc;
    doc.attributes = "<attribute><name>a</name><value>1</value></attribute><attribute><name>b</name></attribute>";
    const PolicyHeader header = Parse(doc.Text());
    ASSERT_EQ(header.GetAttributesCount(), 2);
    EXPECT_EQ(header.GetAttribute(1).GetName(), "b");
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "");
}

}  // namespace
