// What has to be done on a node.
#include "lumpolicy/ApplyPlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "StoredPolicies.h"

namespace lumpolicy {
namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

TestPolicy Policy(const std::string& id, const std::string& name, const std::string& type = "files") {
    TestPolicy policy;
    policy.id = id;
    policy.name = name;
    policy.type = type;
    return policy;
}

class ApplyPlanTest : public testing::Test {
protected:
    ~ApplyPlanTest() override { fs::remove_all(folder); }
    void Want(const TestPolicy& policy) { wanted.push_back(Desired(policy, folder)); }
    void Have(const TestPolicy& policy) { has.push_back(Stored(policy)); }
    /// "create a", "replace a by b", ...
    std::vector<std::string> Plan(const Pruning& pruning = {}, bool forceOwner = false) {
        static constexpr const char* kWords[] = {"leave", "create", "change", "lose", "remove"};
        steps = MakePlan(wanted, has, pruning, forceOwner);
        std::vector<std::string> plan;
        for (const Step& step : steps) {
            std::string text = kWords[static_cast<int>(step.kind)];
            text += " " + step.GetHeader().GetContainerId().ToUtf8();
            if (step.displaces) text += " for " + steps.at(*step.displaces).GetHeader().GetContainerId().ToUtf8();
            if (step.refusal.code != lumtools::kDone) text += ": refused";
            plan.push_back(text);
        }
        return plan;
    }

    std::string folder = [] {
        std::string pattern = (fs::temp_directory_path() / "lumplan.XXXXXX").string();
        return std::string(mkdtemp(pattern.data()));
    }();
    std::vector<DesiredPolicy> wanted;
    std::vector<LumConf::StoredPolicy> has;
    std::vector<Step> steps;
};

TEST_F(ApplyPlanTest, WhatIsNotThereComesWhatDiffersChangesAndTheRestStays) {
    Want(Policy("c", "third"));
    Want(Policy("a", "first"));
    Want(Policy("b", "second"));
    TestPolicy old = Policy("b", "second");
    old.version = "0";
    Have(old);
    Have(Policy("a", "first"));
    Have(Policy("d", "of nobody"));
    EXPECT_THAT(Plan(), ElementsAre("create c", "leave a", "change b"));
}

TEST_F(ApplyPlanTest, OnlyWhatIsMeantAndNotWantedGoes) {
    Want(Policy("a", "first"));
    Have(Policy("a", "first"));
    TestPolicy marked = Policy("y", "y");
    marked.categories = {"site"};
    Have(marked);
    Have(Policy("x", "x"));
    TestPolicy other = Policy("z", "z", "other");
    other.categories = {"site", "more"};
    Have(other);
    EXPECT_THAT(Plan({"FILES", ""}), ElementsAre("leave a", "remove x", "remove y"));
    EXPECT_THAT(Plan({"", "site"}), ElementsAre("leave a", "remove y", "remove z"));
    EXPECT_THAT(Plan({"other", "site"}), ElementsAre("leave a", "remove z"));
    EXPECT_THAT(Plan({"", "Site"}), ElementsAre("leave a"));
}

TEST_F(ApplyPlanTest, APolicyUnderANewIdTakesThePlaceOfTheOldOne) {
    Want(Policy("new", "same"));
    Have(Policy("old", "same"));
    EXPECT_THAT(Plan({"files", ""}), ElementsAre("change new"));
    EXPECT_EQ(steps[0].differences.at(0).field, "id");
    EXPECT_EQ(steps[0].differences.at(0).was, "old");
}

TEST_F(ApplyPlanTest, OneWhoseNameIsTakenGoesWithTheInstall) {
    Want(Policy("a", "taken"));
    Have(Policy("a", "before"));
    Have(Policy("b", "taken"));
    EXPECT_THAT(Plan(), ElementsAre("change a for b", "lose b"));
    EXPECT_THAT(Plan({"files", ""}), ElementsAre("change a for b", "lose b"));
}

TEST_F(ApplyPlanTest, TwoThatSwapTheirNamesBothStay) {
    Want(Policy("a", "second"));
    Want(Policy("b", "first"));
    Have(Policy("a", "first"));
    Have(Policy("b", "second"));
    EXPECT_THAT(Plan({"files", ""}), ElementsAre("change a", "change b"));
}

TEST_F(ApplyPlanTest, AnotherOwnersPolicyIsRefusedUnlessForced) {
    TestPolicy mine = Policy("a", "first"), theirs = mine, nobodys = mine;
    mine.owner = "me";
    theirs.owner = "them";
    Want(mine);
    Have(theirs);
    EXPECT_THAT(Plan(), ElementsAre("change a: refused"));
    EXPECT_THAT(Plan({}, true), ElementsAre("change a"));
    has = {Stored(nobodys)};
    EXPECT_THAT(Plan(), ElementsAre("change a"));
    has = {Stored(mine)};
    EXPECT_THAT(Plan(), ElementsAre("leave a"));
}

TEST_F(ApplyPlanTest, SoIsOneWhoseNameIsTaken) {
    TestPolicy displaced = Policy("b", "taken");
    displaced.owner = "them";
    Want(Policy("a", "taken"));
    Have(Policy("a", "before"));
    Have(displaced);
    EXPECT_THAT(Plan(), ElementsAre("change a for b: refused", "lose b"));
}

}  // namespace
}  // namespace lumpolicy
