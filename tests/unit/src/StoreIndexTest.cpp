// Many ids that are looked for in a store of many types.
#include "StoreIndex.h"

#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Faults.h"
#include "PolicyContainer.h"
#include "PolicyDocs.h"
#include "Tenfold.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
namespace fs = std::filesystem;

class StoreIndexTest : public testing::Test {
protected:
    TempRoot root{kFastFolder};
    const fs::path store = fs::path(root.Native()) / "policies";

    void Put(const std::string& type, const std::string& id) {
        policydocs::Doc doc;
        doc.id = id;
        doc.name = "name of " + id;
        doc.typeName = type;
        fs::create_directories(store / type);
        policydocs::WriteFile(store / type / (id + "_header.xml"), doc.Text());
    }
    void PutMany(int count) {
        fs::remove_all(store);
        for (int i = 0; i < count; ++i) Put("type" + std::to_string(i), Id(i));
    }
    static std::string Id(int number) { return "p" + std::to_string(number); }
    static String_t Ids(int count) {
        std::string ids;
        for (int i = 0; i < count; ++i) ids += " " + Id(i);
        return String_t::FromUtf8(ids);
    }
    static std::vector<String_t> Split(const std::string& prefix, int count) {
        std::vector<String_t> ids;
        for (int i = 0; i < count; ++i) ids.push_back(String_t::FromUtf8(prefix + std::to_string(i)));
        return ids;
    }
};

TEST_F(StoreIndexTest, ItIsNotMadeForFewIdsOrFewTypes) {
    PutMany(3);
    EXPECT_FALSE(StoreIndex::MakeFor({}));
    EXPECT_FALSE(StoreIndex::MakeFor({"p1"}));
    EXPECT_FALSE(StoreIndex::MakeFor(Split("p", 100)));
    PutMany(1);
    EXPECT_FALSE(StoreIndex::MakeFor(Split("p", 10000)));
}

TEST_F(StoreIndexTest, ItTellsWhereTheHeadersLieAndNoMore) {
    PutMany(70);
    Put("type7", "p8");
    fs::create_symlink(store / "type9", store / "link");
    policydocs::WriteFile(store / "p10_header.xml", "a file beside the types");
    policydocs::WriteFile(store / "type11" / "P12_header.xml", "another name where case counts");
    const auto index = StoreIndex::MakeFor(Split("p", 70));
    ASSERT_TRUE(index);
    const auto names = [&](const char* id) {
        std::string all;
        for (const LumPalIo::File_t& entry : index->EntriesOf(id)) all += entry.GetName().ToUtf8() + " ";
        return all;
    };
    EXPECT_EQ(names("p8"), "type7 type8 ");
    EXPECT_EQ(names("p9"), "type9 ");
    EXPECT_EQ(names("p10"), "p10_header.xml type10 ");
    EXPECT_EQ(names("p12"), "type11 type12 ");
    EXPECT_EQ(names("p71"), "");
    EXPECT_EQ(names(""), "");
}

TEST_F(StoreIndexTest, ManyIdsAreReadAsOneAfterTheOtherIs) {
    PutMany(70);
    Put("type7", "p8");
    Put("other", "p8");
    fs::create_directories(store / "empty");
    const PolicyContainer many;
    EXPECT_EQ(many.CheckPolicy(Ids(71) + " P1 ../type1/p1 none"), 70 + 2 + 1);
    const PolicyContainer single;
    for (int i = 0; i < 71; ++i) {
        single.CheckPolicy(PolicyContainer::Options().SetPolicyId(String_t::FromUtf8(Id(i))));
    }
    ASSERT_EQ(many.GetCount(), single.GetCount());
    for (int i = 0; i < many.GetCount(); ++i) {
        EXPECT_EQ(many.GetPolicyHeader(i).GetContainerId(), single.GetPolicyHeader(i).GetContainerId());
        EXPECT_EQ(many.GetPolicyHeader(i).GetTypeName(), single.GetPolicyHeader(i).GetTypeName());
    }
    EXPECT_EQ(many.GetPolicyHeader("p8").GetTypeName(), "type8") << "of several types the last one stands";
}

TEST_F(StoreIndexTest, TheFirstHeaderThatCannotBeReadEndsTheList) {
    PutMany(100);
    policydocs::WriteFile(store / "type50" / "p50_header.xml", "no document");
    const PolicyContainer container;
    EXPECT_THROW(container.CheckPolicy(Ids(100)), PolicyFileException);
    EXPECT_EQ(container.GetCount(), 50);
}

TEST_F(StoreIndexTest, AStoreThatIsNotThereIsTheSameFailureForOneIdAndForMany) {
    const PolicyContainer container;
    EXPECT_EQ(policydocs::IdRaised<LumPalMsg::RuntimeException_t>([&] { container.CheckPolicy(Ids(1)); }), 58u);
    EXPECT_EQ(policydocs::IdRaised<LumPalMsg::RuntimeException_t>([&] { container.CheckPolicy(Ids(5000)); }), 58u);
    EXPECT_EQ(container.CheckPolicy(String_t(" ")), 0);
}

TEST_F(StoreIndexTest, TenTimesTheIdsAndTheTypesCostTenTimesAsMuch) {
    EXPECT_LT(TenfoldRatio(200,
                           [this](int count) {
                               PutMany(count);
                               const PolicyContainer container;
                               const double seconds = ProcessorSeconds([&] { container.CheckPolicy(Ids(count)); });
                               EXPECT_EQ(container.GetCount(), count);
                               return seconds;
                           }),
              kMostForTenfold);
}

}  // namespace
}  // namespace LumConf
