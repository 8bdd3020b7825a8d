// The record of one policy.
#include "PolicyHeader.h"

#include <gtest/gtest.h>

#include "PolicyDocs.h"
#include "PolicyHeaderImpl.h"

namespace {

using LumConf::PolicyHeader;
using LumConf::PolicyHeaderImpl;
using LumPalArray::CharArray_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using policydocs::IdRaised;

struct TextField {
    const char* name;
    String_t (PolicyHeader::*get)() const;
    void (PolicyHeader::*set)(const String_t&) const;
    bool folded;
};

const TextField kTextFields[] = {
    {"container id", &PolicyHeader::GetContainerId, &PolicyHeader::SetContainerId, true},
    {"version id", &PolicyHeader::GetVersionId, &PolicyHeader::SetVersionId, true},
    {"name", &PolicyHeader::GetName, &PolicyHeader::SetName, false},
    {"version", &PolicyHeader::GetVersion, &PolicyHeader::SetVersion, false},
    {"description", &PolicyHeader::GetDescription, &PolicyHeader::SetDescription, false},
    {"owner", &PolicyHeader::GetOwner, &PolicyHeader::SetOwner, false},
    {"type id", &PolicyHeader::GetTypeId, &PolicyHeader::SetTypeId, true},
    {"type name", &PolicyHeader::GetTypeName, &PolicyHeader::SetTypeName, true},
    {"type version", &PolicyHeader::GetTypeVersion, &PolicyHeader::SetTypeVersion, false},
};

TEST(PolicyHeader, EachTextFieldIsEmptyAtFirstAndStoresWhatItsSetterSays) {
    for (const TextField& field : kTextFields) {
        SCOPED_TRACE(field.name);
        const PolicyHeader header;
        EXPECT_TRUE((header.*field.get)().IsEmpty());
        const String_t given = String_t::FromUtf8(" AbC = Ä ");
        (header.*field.set)(given);
        EXPECT_EQ((header.*field.get)(), field.folded ? String_t::FromUtf8(" abc = ä ") : given);
        (header.*field.set)(String_t::Null());
        EXPECT_TRUE((header.*field.get)().IsEmpty());
        for (const TextField& other : kTextFields) EXPECT_TRUE((header.*other.get)().IsEmpty()) << other.name;
    }
}

TEST(PolicyHeader, ACopyOfAHandleSharesTheRecord) {
    const PolicyHeader header;
    const PolicyHeader copy(header);
    PolicyHeader assigned;
    assigned = header;
    copy.SetName("changed");
    EXPECT_EQ(header.GetName(), "changed");
    EXPECT_EQ(assigned.GetName(), "changed");
    EXPECT_EQ(PolicyHeader().GetName(), "");
}

TEST(PolicyHeader, ANewHeaderIsEnabledAndHoldsNothing) {
    const PolicyHeader header;
    EXPECT_TRUE(header.IsEnabled());
    EXPECT_FALSE(header.IsDisabled());
    EXPECT_EQ(header.GetStatus(), "enabled");
    EXPECT_EQ(header.GetCategoryCount(), 0);
    EXPECT_EQ(header.GetAttributesCount(), 0);
    EXPECT_EQ(header.GetDataFileCount(), 0);
    EXPECT_TRUE(header.GetCertificate().IsEmpty());
}

TEST(PolicyHeader, OnlyTheExactStatusCounts) {
    const struct {
        const char* status;
        bool enabled, disabled;
    } rows[] = {{"enabled", true, false},   {"disabled", false, true},  {"Enabled", false, false},
                {"DISABLED", false, false}, {" enabled", false, false}, {"", false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        const PolicyHeader header;
        header.GetImpl()->SetStatus(row.status);
        EXPECT_EQ(header.IsEnabled(), row.enabled);
        EXPECT_EQ(header.IsDisabled(), row.disabled);
        EXPECT_EQ(header.GetStatus(), row.status);
    }
}

TEST(PolicyHeader, EnablingAndDisablingReplacesTheStatus) {
    const PolicyHeader header;
    header.SetDisabled();
    EXPECT_TRUE(header.IsDisabled());
    header.SetEnabled();
    EXPECT_TRUE(header.IsEnabled());
}

TEST(PolicyHeader, SetCategoryWithAnEmptyTextReturnsFalse) {
    const PolicyHeader header;
    EXPECT_FALSE(header.SetCategory(""));
    EXPECT_FALSE(header.SetCategory(String_t::Null()));
    EXPECT_EQ(header.GetCategoryCount(), 0);
}

TEST(PolicyHeader, CategoriesAreUniqueByExactTextAndKeepTheirOrder) {
    const PolicyHeader header;
    EXPECT_TRUE(header.SetCategory("b"));
    EXPECT_TRUE(header.SetCategory("A"));
    EXPECT_TRUE(header.SetCategory("a"));
    EXPECT_TRUE(header.SetCategory(" a"));
    EXPECT_FALSE(header.SetCategory("A"));
    ASSERT_EQ(header.GetCategoryCount(), 4);
    EXPECT_EQ(header.GetCategory(0), "b");
    EXPECT_EQ(header.GetCategory(1), "A");
    EXPECT_EQ(header.GetCategory(2), "a");
    EXPECT_EQ(header.GetCategory(3), " a");
}

TEST(PolicyHeader, RemovingACategoryTellsWhetherItWasThere) {
    const PolicyHeader header;
    header.SetCategory("a");
    header.SetCategory("b");
    EXPECT_FALSE(header.GetImpl()->RemoveCategory(""));
    EXPECT_FALSE(header.GetImpl()->RemoveCategory("A"));
    EXPECT_TRUE(header.GetImpl()->RemoveCategory("a"));
    EXPECT_FALSE(header.GetImpl()->RemoveCategory("a"));
    ASSERT_EQ(header.GetCategoryCount(), 1);
    EXPECT_EQ(header.GetCategory(0), "b");
    header.GetImpl()->RemoveAllCategories();
    EXPECT_EQ(header.GetCategoryCount(), 0);
}

TEST(PolicyHeader, AnAttributeIsTrimmedAndAPairIsKeptOnce) {
    const PolicyHeader header;
    EXPECT_TRUE(header.SetAttribute(" a ", " 1 "));
    EXPECT_FALSE(header.SetAttribute("a", "1"));
    EXPECT_TRUE(header.SetAttribute("a", "2"));
    EXPECT_TRUE(header.SetAttribute("A", "1"));
    ASSERT_EQ(header.GetAttributesCount(), 3);
    EXPECT_EQ(header.GetAttribute(0).GetName(), "a");
    EXPECT_EQ(header.GetAttribute(0).GetValue(), "1");
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "2");
    EXPECT_EQ(header.GetAttribute(2).GetName(), "A");
}

TEST(PolicyHeader, ABadAttributeNameIsRefusedAndAddsNothing) {
    const struct {
        const char* name;
        unsigned id;
    } rows[] = {{"", 70}, {" ", 70}, {"\t\n ", 70}, {nullptr, 70}, {"a=b", 71}, {"=", 71}, {" a=", 71}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name ? row.name : "null");
        const PolicyHeader header;
        EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { header.SetAttribute(String_t(row.name), "v"); }), row.id);
        EXPECT_EQ(header.GetAttributesCount(), 0);
    }
}

TEST(PolicyHeader, TheRefusalOfAnAttributeNameShowsTheNameAndTheSign) {
    const auto failure =
        policydocs::Raised<IllegalArgumentError_t>([] { PolicyHeader().SetAttribute("left=right", "v"); });
    ASSERT_TRUE(failure);
    EXPECT_TRUE(failure->Says("'left=right'"));
    EXPECT_TRUE(failure->Says("'='"));
}

TEST(PolicyHeader, AnAttributeValueMayBeEmptyOrHoldAnEqualsSign) {
    const PolicyHeader header;
    EXPECT_TRUE(header.SetAttribute("a", ""));
    EXPECT_TRUE(header.SetAttribute("a", "x=y"));
    EXPECT_TRUE(header.SetAttribute("b", String_t::Null()));
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "x=y");
}

TEST(PolicyHeader, AnAttributeNamedVersionIdSuppliesAMissingVersionId) {
    const PolicyHeader without;
    EXPECT_TRUE(without.SetAttribute("version_id", "ABC"));
    EXPECT_EQ(without.GetVersionId(), "abc");
    EXPECT_EQ(without.GetAttribute(0).GetValue(), "ABC");
    const PolicyHeader with;
    with.SetVersionId("kept");
    EXPECT_TRUE(with.SetAttribute("version_id", "ABC"));
    EXPECT_EQ(with.GetVersionId(), "kept");
    EXPECT_EQ(with.GetAttributesCount(), 1);
}

TEST(PolicyHeader, RemovingAnAttributeComparesExactly) {
    const PolicyHeader header;
    PolicyHeaderImpl* impl = header.GetImpl();
    EXPECT_FALSE(impl->RemoveAttribute("a", "1"));
    header.SetAttribute("a", "1");
    header.SetAttribute("a", "2");
    header.SetAttribute("a", "3");
    EXPECT_FALSE(impl->RemoveAttribute("A", "2"));
    EXPECT_FALSE(impl->RemoveAttribute(" a", "2"));
    EXPECT_TRUE(impl->RemoveAttribute("a", "2"));
    ASSERT_EQ(header.GetAttributesCount(), 2);
    EXPECT_EQ(header.GetAttribute(0).GetValue(), "1");
    EXPECT_EQ(header.GetAttribute(1).GetValue(), "3");
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { impl->RemoveAttribute("", "1"); }), 70u);
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { impl->RemoveAttribute("a", ""); }), 70u);
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { impl->RemoveAttribute("a", "x=y"); }), 71u);
    impl->RemoveAllAttributes();
    EXPECT_EQ(header.GetAttributesCount(), 0);
}

TEST(PolicyHeader, AFetchedAttributeOutlivesItsRemoval) {
    const PolicyHeader header;
    header.SetAttribute("a", "1");
    const LumConf::PolicyAttribute attribute = header.GetAttribute(0);
    header.GetImpl()->RemoveAllAttributes();
    EXPECT_EQ(attribute.GetName(), "a");
    EXPECT_EQ(LumConf::PolicyAttribute().GetName(), "");
    EXPECT_EQ(LumConf::PolicyAttribute().GetValue(), "");
}

TEST(PolicyHeader, ADataFileHasItsEncodingAndChecksum) {
    const struct {
        const char* given;
        const char* stored;
    } rows[] = {{nullptr, "text/plain"}, {"", "text/plain"}, {"  ", "text/plain"}, {" x/y ", "x/y"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.stored);
        const PolicyHeader header;
        header.SetDataFile(" f ", String_t(row.given), " c ");
        ASSERT_EQ(header.GetDataFileCount(), 1);
        EXPECT_EQ(header.GetDataFile(0), " f ");
        EXPECT_EQ(header.GetDataFileEncoding(0), row.stored);
        EXPECT_EQ(header.GetDataFileChecksum(0), " c ");
        header.SetDataFile("g");
        EXPECT_EQ(header.GetDataFileEncoding(1), "text/plain");
        EXPECT_EQ(header.GetDataFileChecksum(1), "");
    }
}

TEST(PolicyHeader, EncodingAndChecksumGoToTheLastDataFile) {
    const PolicyHeader header;
    header.SetDataFile("f", "a", "b");
    header.SetDataFile("g");
    header.SetDataFileEncoding(" x/y ");
    header.SetDataFileChecksum(" sum ");
    EXPECT_EQ(header.GetDataFileEncoding(0), "a");
    EXPECT_EQ(header.GetDataFileEncoding(1), "x/y");
    EXPECT_EQ(header.GetDataFileChecksum(1), " sum ");
    header.SetDataFileEncoding(" ");
    EXPECT_EQ(header.GetDataFileEncoding(1), "text/plain");
}

TEST(PolicyHeader, EncodingAndChecksumWithoutADataFileChangeNothing) {
    const PolicyHeader header;
    header.SetDataFileEncoding("x/y");
    header.SetDataFileChecksum("c");
    EXPECT_EQ(header.GetDataFileCount(), 0);
}

TEST(PolicyHeader, EveryIndexGetterRefusesABadIndexByItsNumber) {
    const struct {
        const char* name;
        unsigned id;
        void (*get)(const PolicyHeader&, int);
    } rows[] = {
        {"category", 14, [](const PolicyHeader& h, int i) { h.GetCategory(i); }},
        {"attribute", 15, [](const PolicyHeader& h, int i) { h.GetAttribute(i); }},
        {"data file", 16, [](const PolicyHeader& h, int i) { h.GetDataFile(i); }},
        {"encoding", 16, [](const PolicyHeader& h, int i) { h.GetDataFileEncoding(i); }},
        {"checksum", 16, [](const PolicyHeader& h, int i) { h.GetDataFileChecksum(i); }},
        {"signature", 34, [](const PolicyHeader& h, int i) { h.GetSignature(i); }},
        {"raw signature", 35, [](const PolicyHeader& h, int i) { h.GetImpl()->GetRawSignature(i); }},
    };
    const PolicyHeader header;
    header.SetCategory("c");
    header.SetAttribute("a", "v");
    header.SetDataFile("f");
    header.GetImpl()->AddSignature(CharArray_t("c2ln"));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_NO_THROW(row.get(header, 0));
        for (int bad : {-1, 1, 2147483647, -2147483647 - 1}) {
            const auto failure = policydocs::Raised<IllegalArgumentError_t>([&] { row.get(header, bad); });
            ASSERT_TRUE(failure) << bad;
            EXPECT_EQ(failure->Id(), row.id);
            EXPECT_TRUE(failure->Says("'" + std::to_string(bad) + "'"));
        }
    }
}

TEST(PolicyHeader, SignatureAndCertificateComeDecoded) {
    const PolicyHeader header;
    header.SetDataFile("f");
    header.GetImpl()->AddSignature(CharArray_t(" c2ln\n"));
    header.GetImpl()->SetCertificate(CharArray_t("Y2VydA=="));
    EXPECT_EQ(header.GetSignature(0).View(), "sig");
    EXPECT_EQ(header.GetCertificate().View(), "cert");
    EXPECT_EQ(header.GetImpl()->GetRawSignature(0).View(), " c2ln\n");
}

TEST(PolicyHeader, TextThatIsNoBase64IsAFailure) {
    const PolicyHeader header;
    header.SetDataFile("f");
    header.GetImpl()->AddSignature(CharArray_t("?"));
    header.GetImpl()->SetCertificate(CharArray_t("Y2V"));
    EXPECT_THROW(header.GetSignature(0), LumPalIo::IOException_t);
    EXPECT_THROW(header.GetCertificate(), LumPalIo::IOException_t);
}

TEST(PolicyHeader, TheIndexOfASignatureIsTestedAgainstTheDataFiles) {
    const PolicyHeader unsignedFile;
    unsignedFile.SetDataFile("f");
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { unsignedFile.GetSignature(0); }), 35u);
    const PolicyHeader noFile;
    noFile.GetImpl()->AddSignature(CharArray_t("c2ln"));
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { noFile.GetSignature(0); }), 34u);
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { noFile.GetImpl()->GetRawSignature(0); }), 35u);
}

TEST(PolicyHeader, ClearEmptiesEverythingButTheAttributes) {
    const PolicyHeader header = policydocs::Parse(policydocs::Doc().Text());
    PolicyHeaderImpl* impl = header.GetImpl();
    impl->Clear();
    for (const TextField& field : kTextFields) EXPECT_TRUE((header.*field.get)().IsEmpty()) << field.name;
    EXPECT_EQ(header.GetStatus(), "");
    EXPECT_EQ(header.GetCategoryCount(), 0);
    EXPECT_EQ(header.GetDataFileCount(), 0);
    EXPECT_EQ(impl->GetSignatureCount(), 0);
    EXPECT_TRUE(impl->GetRawCertificate().IsEmpty());
    EXPECT_EQ(header.GetAttributesCount(), 1);
}

TEST(PolicyHeader, ASnapshotIsAsTheHeaderWasWhenItWasTaken) {
    const PolicyHeader header = policydocs::Parse(policydocs::Doc().Text());
    const LumConf::PolicyRecord before = header.GetImpl()->Snapshot();
    header.SetOwner("another");
    header.SetDisabled();
    header.SetCategory("later");
    header.GetImpl()->RemoveAllAttributes();
    EXPECT_EQ(before.owner, "operator");
    EXPECT_EQ(before.status, "enabled");
    EXPECT_EQ(before.containerId, "p1");
    EXPECT_EQ(before.versionId, "v1");
    EXPECT_EQ(before.categories.size(), 2u);
    ASSERT_EQ(before.attributes.size(), 1u);
    EXPECT_EQ(before.attributes[0]->GetValue(), "linux");
    ASSERT_EQ(before.dataFiles.size(), 1u);
    EXPECT_EQ(before.dataFiles[0].checksum, "c1");
}

}  // namespace
