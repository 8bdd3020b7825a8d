// Which policies of a cache name a data file.
#include "DataFileIndex.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PolicyContainerImpl.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using HeaderPtr = PolicyContainerImpl::HeaderPtr;

HeaderPtr Insert(PolicyContainerImpl& cache, const std::string& id, const std::vector<const char*>& files,
                 const char* type = "t", const char* name = nullptr) {
    HeaderPtr header(new PolicyHeaderImpl);
    header->SetContainerId(id.c_str());
    header->SetName(name ? name : id.c_str());
    header->SetTypeName(type);
    for (const char* file : files) header->SetDataFile(file);
    cache.Insert(header.Get());
    return header;
}

/// Ids of the headers of the type that name the file.
std::string Naming(PolicyContainerImpl& cache, const char* file, const char* type = "t") {
    std::string ids;
    cache.FindNaming(type, file, [&ids](const PolicyHeaderImpl& header) {
        ids += (ids.empty() ? "" : " ") + header.GetContainerId().ToUtf8();
        return false;
    });
    return ids;
}

class DataFileIndexTest : public testing::Test {
protected:
    PolicyContainerImpl cache;
};

TEST_F(DataFileIndexTest, AFileIsFoundByItsNameAndTypeInTheOrderOfIds) {
    Insert(cache, "c", {"x", "y"});
    Insert(cache, "a", {"x"});
    Insert(cache, "b", {"x"}, "other");
    EXPECT_EQ(Naming(cache, "x"), "a c");
    EXPECT_EQ(Naming(cache, "y"), "c");
    EXPECT_EQ(Naming(cache, "x", "other"), "b");
    EXPECT_EQ(Naming(cache, "X"), "") << "names of files differ by case";
    EXPECT_EQ(Naming(cache, ""), "");
    EXPECT_EQ(Naming(cache, "x", ""), "");
}

TEST_F(DataFileIndexTest, TheFirstAcceptedOneIsTheAnswer) {
    for (const char* id : {"a", "b", "c"}) Insert(cache, id, {"x"});
    const auto notA = [](const PolicyHeaderImpl& header) { return header.GetContainerId() != "a"; };
    EXPECT_EQ(cache.FindNaming("t", "x", notA)->GetContainerId(), "b");
    EXPECT_FALSE(cache.FindNaming("t", "x", [](const PolicyHeaderImpl&) { return false; }));
}

struct ChangeRow {
    const char* what;
    void (*change)(PolicyContainerImpl&);
    const char* x;  ///< who names it afterwards
    const char* y;
};

const ChangeRow kChanges[] = {
    {"a newcomer", [](PolicyContainerImpl& c) { Insert(c, "b", {"x"}); }, "a b", "a"},
    {"the same id with other files",
     [](PolicyContainerImpl& c) {
         Insert(c, "a", {"y", "z"});
     },
     "", "a"},
    {"the same id without files", [](PolicyContainerImpl& c) { Insert(c, "a", {}); }, "", ""},
    {"the same id under another type", [](PolicyContainerImpl& c) { Insert(c, "a", {"x"}, "u"); }, "", ""},
    {"another id with the same name and type", [](PolicyContainerImpl& c) { Insert(c, "n", {"y"}, "t", "a"); }, "",
     "n"},
    {"it is erased", [](PolicyContainerImpl& c) { c.Erase("a"); }, "", ""},
    {"it is removed", [](PolicyContainerImpl& c) { c.Remove("A"); }, "", ""},
};

TEST_F(DataFileIndexTest, ItFollowsEveryChangeOfTheCache) {
    for (const ChangeRow& row : kChanges) {
        SCOPED_TRACE(row.what);
        PolicyContainerImpl changed;
        Insert(changed, "a", {"x", "y"});
        EXPECT_EQ(Naming(changed, "x"), "a");
        row.change(changed);
        EXPECT_EQ(Naming(changed, "x"), row.x);
        EXPECT_EQ(Naming(changed, "y"), row.y);
    }
}

TEST_F(DataFileIndexTest, AChangeBeforeTheFirstQuestionCountsToo) {
    for (const ChangeRow& row : kChanges) {
        SCOPED_TRACE(row.what);
        PolicyContainerImpl changed;
        Insert(changed, "a", {"x", "y"});
        row.change(changed);
        EXPECT_EQ(Naming(changed, "x"), row.x);
        EXPECT_EQ(Naming(changed, "y"), row.y);
    }
}

TEST_F(DataFileIndexTest, AHeaderThatChangesInTheCacheIsFoundAndGoesByWhatItWasAtFirst) {
    const HeaderPtr header = Insert(cache, "a", {"x"});
    EXPECT_EQ(Naming(cache, "x"), "a");
    header->SetDataFile("z");
    header->SetTypeName("u");
    header->SetContainerId("changed");
    EXPECT_EQ(Naming(cache, "x"), "changed");
    EXPECT_EQ(Naming(cache, "z", "u"), "");
    cache.Erase("a");
    EXPECT_EQ(Naming(cache, "x"), "");
}

TEST_F(DataFileIndexTest, ADocumentThatNamesAFileTwiceCountsOnce) {
    Insert(cache, "a", {"x", "x"});
    EXPECT_EQ(Naming(cache, "x"), "a");
    Insert(cache, "b", {"x", "x"});
    EXPECT_EQ(Naming(cache, "x"), "a b");
    cache.Erase("b");
    cache.Erase("a");
    EXPECT_EQ(Naming(cache, "x"), "");
}

TEST_F(DataFileIndexTest, TheHeadersOfSeveralFilesAreOneContainer) {
    Insert(cache, "a", {"x"});
    Insert(cache, "b", {"y", "x"});
    Insert(cache, "c", {"x"}, "other");
    Insert(cache, "d", {"z"});
    const auto naming = cache.Naming({"x", "y", "nobody's"});
    ASSERT_EQ(naming->GetCount(), 3);
    for (const char* id : {"a", "b", "c"}) {
        EXPECT_EQ(naming->GetPolicyHeader(id).Get(), cache.GetPolicyHeader(id).Get());
    }
    EXPECT_TRUE(cache.Naming({})->IsEmpty());
    EXPECT_EQ(cache.GetCount(), 4);
}

TEST_F(DataFileIndexTest, AmongTenThousandPoliciesNoneIsLookedAtButThoseThatNameTheFile) {
    constexpr int kPolicies = 10000;
    for (int i = 0; i < kPolicies; ++i) Insert(cache, std::to_string(i), {std::to_string(i).c_str()});
    int found = 0, looks = 0;
    for (int i = 0; i < kPolicies; ++i) {
        const auto accept = [&looks](const PolicyHeaderImpl&) { return ++looks > 0; };
        if (cache.FindNaming("t", std::to_string(i).c_str(), accept)) ++found;
    }
    EXPECT_EQ(found, kPolicies);
    EXPECT_EQ(looks, kPolicies);
}

}  // namespace
}  // namespace LumConf
