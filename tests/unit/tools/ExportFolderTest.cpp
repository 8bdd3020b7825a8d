// A folder that is there whole or not at all, whatever fails on the way.
#include "lumpolicy/ExportFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "Faults.h"
#include "Files.h"
#include "FlushFollower.h"
#include "common/Outcome.h"

namespace lumpolicy {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::SizeIs;
namespace fs = std::filesystem;

LumPalArray::CharArray_t Bytes(const std::string& text) {
    return LumPalArray::CharArray_t(text.data(), text.size());
}

class ExportFolderTest : public testing::Test {
protected:
    ExportFolderTest() {
        if (!mkdtemp(base.data())) throw std::runtime_error("no folder for a test");
    }
    ~ExportFolderTest() override { fs::remove_all(base); }

    std::string Place() const { return base + "/place"; }
    void WriteAll(ExportFolder& folder) const {
        folder.Begin();
        folder.Write("one", "a", Bytes("first"));
        folder.Write("two", "a", Bytes("second"));
        folder.Finish();
    }
    std::map<std::string, std::string> Left() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(base)) {
            if (entry.is_regular_file()) files[fs::relative(entry.path(), base).string()] = ReadText(entry.path());
        }
        return files;
    }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(base)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    const std::map<std::string, std::string> whole{{"place/one/a", "first"}, {"place/two/a", "second"}};
    std::string base = std::string(kFastFolder) + "/lumexport.XXXXXX";
};

TEST_F(ExportFolderTest, WhateverFailsItIsThereWholeOrNotAtAll) {
    for (const FaultMode mode : {FaultMode::Once, FaultMode::FromThenOn, FaultMode::DiskFull}) {
        ForEachFault([&](int nth) {
            Faults faults(nth, mode);
            const auto outcome = lumtools::Attempt([&] {
                ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
                WriteAll(folder);
            });
            faults.Stop();
            EXPECT_THAT(Left(), AnyOf(IsEmpty(), Eq(whole))) << faults.Failed();
            if (outcome.code == lumtools::kDone) {
                EXPECT_EQ(Left(), whole) << faults.Failed();
            }
            EXPECT_THAT(Names(), AnyOf(IsEmpty(), ElementsAre("place"))) << faults.Failed();
            fs::remove_all(Place());
            return faults.Fired();
        });
    }
}

TEST_F(ExportFolderTest, WhateverFailsNothingIsLostOfWhatHadThePlace) {
    ForEachFault([&](int nth) {
        fs::create_directory(Place());
        WriteText(Place() + "/mine", "mine");
        Faults faults(nth, FaultMode::FromThenOn);
        lumtools::Attempt([&] {
            ExportFolder folder(Place(), ExportFolder::Taken::Keep);
            WriteAll(folder);
        });
        faults.Stop();
        auto left = Left();
        EXPECT_EQ(left.erase("place/mine") + left.erase("place.1/mine"), 1u) << faults.Failed();
        EXPECT_THAT(left, AnyOf(IsEmpty(), Eq(whole))) << faults.Failed();
        for (const std::string& name : Names()) fs::remove_all(base + "/" + name);
        return faults.Fired();
    });
}

TEST_F(ExportFolderTest, WhatIsFinishedOutlivesAPowerCut) {
    const FlushFollower follower(base, {});
    ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
    WriteAll(folder);
    EXPECT_THAT(follower.Faults(), IsEmpty());
}

TEST_F(ExportFolderTest, WhoeverBeginsAnewBeginsWithNothing) {
    ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
    folder.Begin();
    folder.Write("one", "other", Bytes("gone"));
    folder.Write("one", "a", Bytes("gone"));
    WriteAll(folder);
    EXPECT_EQ(Left(), whole);
    EXPECT_THAT(Names(), ElementsAre("place"));
}

TEST_F(ExportFolderTest, WhatIsAlikeIsWrittenOnceAndWhatDiffersIsRefused) {
    ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
    folder.Begin();
    const std::string digest = folder.Write("one", "a", Bytes("first"));
    EXPECT_THAT(digest, SizeIs(32));
    EXPECT_EQ(folder.Write("one", "a", Bytes("first")), digest);
    EXPECT_THROW(folder.Write("one", "a", Bytes("firs")), FilesCollide);
    EXPECT_THROW(folder.Write("one", "a", Bytes("first and more")), FilesCollide);
}

TEST_F(ExportFolderTest, WhatComesIntoThePlaceMeanwhileStays) {
    ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
    folder.Begin();
    folder.Write("one", "a", Bytes("first"));
    WriteText(Place(), "mine");
    EXPECT_THROW(folder.Finish(), LumPalIo::IOException_t);
    folder.GiveUp();
    EXPECT_THAT(Left(), ElementsAre(std::pair<const std::string, std::string>("place", "mine")));
}

TEST_F(ExportFolderTest, AfterItWasGivenUpNothingIsWritten) {
    ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
    folder.Begin();
    EXPECT_TRUE(folder.GiveUp());
    EXPECT_THROW(folder.Begin(), LumPalMsg::IllegalStateError_t);
    EXPECT_THROW(folder.Write("one", "a", Bytes("first")), LumPalMsg::IllegalStateError_t);
    EXPECT_THROW(folder.Finish(), LumPalMsg::IllegalStateError_t);
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(ExportFolderTest, WhatIsFinishedCannotBeGivenUp) {
    ExportFolder folder(Place(), ExportFolder::Taken::Refuse);
    WriteAll(folder);
    EXPECT_FALSE(folder.GiveUp());
    EXPECT_EQ(Left(), whole);
}

}  // namespace
}  // namespace lumpolicy
