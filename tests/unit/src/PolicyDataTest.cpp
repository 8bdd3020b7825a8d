// The data files of policies: who may read them, and what is never handed out.
#include <gtest/gtest.h>

#include "LumSecCore.h"
#include "PolicyContainer.h"
#include "PolicyDocs.h"
#include "TempRoot.h"

namespace {

using LumConf::PolicyHeader;
using LumPalArray::CharArray_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using policydocs::IdRaised;

class PolicyHeaderData : public testing::Test {
protected:
    TempRoot root;
    CharArray_t data{"untouched"};

    PolicyHeader Loaded(const policydocs::Doc& doc) {
        policydocs::PutInStore(doc);
        const LumConf::PolicyContainer container;
        container.CheckPolicy();
        return container.GetPolicyHeader(String_t::FromUtf8(doc.id));
    }
    static policydocs::Doc WithFile(const std::string& name) {
        policydocs::Doc doc;
        doc.files = "<data><file_name>" + name + "</file_name><signature>c2ln</signature></data>";
        return doc;
    }
};

TEST_F(PolicyHeaderData, AHeaderThatNoContainerLoadedMayNotReadItsData) {
    const PolicyHeader inMemory;
    inMemory.SetDataFile("f");
    const auto path = policydocs::PutInStore(policydocs::Doc());
    const PolicyHeader read = PolicyHeader::Read(LumPalIo::File_t(String_t::FromUtf8(path.string())));
    for (const PolicyHeader& header : {inMemory, read})
        EXPECT_EQ(IdRaised<LumPalMsg::IllegalStateError_t>([&] { header.GetData(0, data); }), 17u);
    EXPECT_EQ(data.View(), "untouched");
}

TEST_F(PolicyHeaderData, ABadIndexAndAMissingFileAreToldByTheirNumbers) {
    const PolicyHeader header = Loaded(policydocs::Doc());
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { header.GetData(1, data); }), 16u);
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { header.GetData(-1, data); }), 16u);
    const auto failure = policydocs::Raised<LumPalIo::FileNotFoundException_t>([&] { header.GetData(0, data); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 18u);
    EXPECT_TRUE(failure->Says("cron/p1.dat"));
}

TEST_F(PolicyHeaderData, AFileThatCannotBeReadIsTold) {
    std::filesystem::create_directories(policydocs::StorePath() / "cron" / "p1.dat");
    const PolicyHeader header = Loaded(policydocs::Doc());
    EXPECT_EQ(IdRaised<LumPalIo::IOException_t>([&] { header.GetData(0, data); }), 19u);
}

TEST_F(PolicyHeaderData, ANameThatLeavesTheFolderOfItsTypeNamesNoDataFile) {
    policydocs::WriteFile(policydocs::StorePath() / "secret", "s");
    for (const char* name : {"../secret", "sub/../../secret", "..", ".", ""}) {
        SCOPED_TRACE(name);
        const PolicyHeader header = Loaded(WithFile(name));
        EXPECT_EQ(IdRaised<LumPalIo::FileNotFoundException_t>([&] { header.GetData(0, data); }), 18u);
    }
}

TEST_F(PolicyHeaderData, ADataFileIsNotFollowedThroughALink) {
    policydocs::WriteFile(policydocs::StorePath() / "secret", "s");
    const PolicyHeader header = Loaded(WithFile("link"));
    std::filesystem::create_symlink("../secret", policydocs::StorePath() / "cron" / "link");
    EXPECT_EQ(IdRaised<LumPalIo::FileNotFoundException_t>([&] { header.GetData(0, data); }), 18u);
}

}  // namespace
