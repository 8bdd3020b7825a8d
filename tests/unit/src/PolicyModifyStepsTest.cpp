// Which documents a change rewrites, what is left of it when it fails on the way, and when consumers are told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "Exceptions.h"
#include "PolicyNode.h"
#include "Raised.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;
using Options = PolicyForwarder::Options;

TestPolicy Policy(const std::string& id, const std::vector<std::string>& categories = {}) {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.categories = categories;
    policy.data = {{id + ".data", "data of " + id}};
    return policy;
}

class PolicyModifySteps : public testing::Test {
protected:
    /// One of the changes, with all policies selected. `made` says of a header whether it has it.
    struct Operation {
        const char* name;
        std::function<void(const Options&)> run;
        std::function<bool(const PolicyHeader&)> made;
        const char* event;
    };
    const std::vector<Operation> operations = {
        {"disable", [this](const Options& o) { node->SetStatus("tester", Selection(), PolicyOperation::Disable, o); },
         [](const PolicyHeader& h) { return h.IsDisabled(); }, "DISABLE_POLICY:files"},
        {"owner", [this](const Options& o) { node->SetOwner("tester", "new owner", Selection(), o); },
         [](const PolicyHeader& h) { return h.GetOwner() == "new owner"; }, "CHECK_POLICY:files"},
        {"add category",
         [this](const Options& o) {
             node->ModifyCategory("tester", "new", Selection(), o, PolicyOperation::AddCategory);
         },
         [](const PolicyHeader& h) { return h.GetCategoryCount() == 2; }, "CHECK_POLICY:files"},
        {"remove category",
         [this](const Options& o) {
             node->ModifyCategory("tester", "c", Selection(), o, PolicyOperation::RemoveCategory);
         },
         [](const PolicyHeader& h) { return h.GetCategoryCount() == 0; }, "CHECK_POLICY:files"},
        {"all categories", [this](const Options& o) { node->RemoveAllCategories("tester", Selection(), o); },
         [](const PolicyHeader& h) { return h.GetCategoryCount() == 0; }, "CHECK_POLICY:files"},
        {"add attribute",
         [this](const Options& o) {
             node->ModifyAttributes("tester", "l=w", Selection(), o, PolicyOperation::AddAttribute);
         },
         [](const PolicyHeader& h) { return h.GetAttributesCount() == 2; }, "CHECK_POLICY:files"},
        {"remove attribute",
         [this](const Options& o) {
             node->ModifyAttributes("tester", "k=v", Selection(), o, PolicyOperation::RemoveAttribute);
         },
         [](const PolicyHeader& h) { return h.GetAttributesCount() == 0; }, "CHECK_POLICY:files"},
        {"all attributes", [this](const Options& o) { node->RemoveAllAttributes("tester", Selection(), o); },
         [](const PolicyHeader& h) { return h.GetAttributesCount() == 0; }, "CHECK_POLICY:files"},
    };
    PolicyNode node;
    const Options quiet = Options().SetNotify(false), told;

    std::string PathOf(const std::string& id) const { return node.InstallFolder() + "/files/" + id + "_header.xml"; }
    /// A second name for the document as it is now: a rewritten one is another file.
    void Mark(const std::string& id) {
        fs::remove(node.Root().Native() + "/mark of " + id);
        fs::create_hard_link(PathOf(id), node.Root().Native() + "/mark of " + id);
    }
    bool IsRewritten(const std::string& id) const {
        return !fs::equivalent(PathOf(id), node.Root().Native() + "/mark of " + id);
    }
    /// Policies a, b and c anew, each with a category and an attribute, and nothing queued.
    void Fill() {
        if (node->IsPolicyInstalled()) node.Remove(Selection());
        for (const char* id : {"a", "b", "c"}) {
            TestPolicy policy = Policy(id, {"c"});
            policy.attributes = {{"k", "v"}};
            node.Install(policy);
        }
        Forget();
        for (const char* id : {"a", "b", "c"}) Mark(id);
    }
    void Forget() {
        try {
            node->Notify("tester");
        } catch (const LumCtrl::ControlException&) {
            // Nobody listens yet: what was queued is gone all the same.
        }
    }
};

TEST_F(PolicyModifySteps, FromTheFirstPolicyWhoseCategoriesChangeOnAllDocumentsAreRewritten) {
    node.Install(Policy("a", {"x"}));
    node.Install(Policy("b"));
    node.Install(Policy("c", {"x"}));
    for (const char* id : {"a", "b", "c"}) Mark(id);
    node->ModifyCategory("tester", "x", Selection(), quiet, PolicyOperation::AddCategory);
    EXPECT_FALSE(IsRewritten("a"));
    EXPECT_TRUE(IsRewritten("b"));
    EXPECT_TRUE(IsRewritten("c"));
}

TEST_F(PolicyModifySteps, OnlyDocumentsWhoseAttributesChangeAreRewritten) {
    TestPolicy a = Policy("a"), c = Policy("c");
    a.attributes = c.attributes = {{"x", "y"}};
    node.Install(a);
    node.Install(Policy("b"));
    node.Install(c);
    for (const char* id : {"a", "b", "c"}) Mark(id);
    node->ModifyAttributes("tester", "x=y", Selection(), quiet, PolicyOperation::AddAttribute);
    EXPECT_FALSE(IsRewritten("a"));
    EXPECT_TRUE(IsRewritten("b"));
    EXPECT_FALSE(IsRewritten("c"));
}

TEST_F(PolicyModifySteps, EachChangeRewritesTheDocumentAndLeavesTheDataAlone) {
    for (const Operation& operation : operations) {
        Fill();
        const std::string data = node.InstallFolder() + "/files/b.data", mark = node.Root().Native() + "/data";
        fs::remove(mark);
        fs::create_hard_link(data, mark);
        operation.run(quiet);
        for (const char* id : {"a", "b", "c"}) EXPECT_TRUE(IsRewritten(id)) << operation.name;
        EXPECT_TRUE(fs::equivalent(data, mark)) << operation.name;
        EXPECT_EQ(PolicyNode::Content(data), "data of b") << operation.name;
        EXPECT_THAT(node.Temporary(), IsEmpty()) << operation.name;
        node->ReinitCache("tester");
        for (const char* id : {"a", "b", "c"}) EXPECT_TRUE(operation.made(node.Get(id))) << operation.name << id;
    }
}

TEST_F(PolicyModifySteps, AfterAFailureWhatWasDoneStaysDoneAndNobodyIsToldUntilTheNextSend) {
    for (const Operation& operation : operations) {
        Fill();
        PolicyListener listener;
        fs::rename(PathOf("b"), PathOf("b") + ".away");
        EXPECT_THROW(operation.run(told), LumPalIo::FileNotFoundException_t) << operation.name;
        fs::rename(PathOf("b") + ".away", PathOf("b"));
        EXPECT_THAT(listener.Heard(), IsEmpty()) << operation.name;
        EXPECT_TRUE(IsRewritten("a")) << operation.name;
        EXPECT_FALSE(IsRewritten("b") || IsRewritten("c")) << operation.name;
        EXPECT_TRUE(operation.made(node.Get("a"))) << operation.name;
        EXPECT_TRUE(operation.made(node.Get("b"))) << operation.name << ": the cache has it before the document";
        EXPECT_FALSE(operation.made(node.Get("c"))) << operation.name;
        EXPECT_THAT(node.Temporary(), IsEmpty()) << operation.name;
        node->Notify("tester");
        EXPECT_THAT(listener.Heard(), ElementsAre(operation.event + std::string(" a"))) << operation.name;
        node->ReinitCache("tester");
        EXPECT_TRUE(operation.made(node.Get("a"))) << operation.name;
        EXPECT_FALSE(operation.made(node.Get("b"))) << operation.name;
    }
}

TEST_F(PolicyModifySteps, ATriggerThatFailsDoesNotFailTheChange) {
    for (const Operation& operation : operations) {
        Fill();
        EXPECT_NO_THROW(operation.run(told)) << operation.name;
        EXPECT_TRUE(operation.made(node.Get("c"))) << operation.name;
        PolicyListener listener;
        node->Notify("tester");
        EXPECT_THAT(listener.Heard(), IsEmpty()) << operation.name << ": a failed trigger is not repeated";
    }
    EXPECT_EQ(node.Audited("Failure Audit: MODIFY"), 0);
    EXPECT_EQ(node.Audited("Failure Audit: DISABLE"), 0);
}

TEST_F(PolicyModifySteps, EachChangeIsToldAtOnceTogetherWithWhatWaited) {
    for (const Operation& operation : operations) {
        Fill();
        PolicyListener listener;
        node.Install(Policy("d"));
        operation.run(told);
        const std::vector<std::string> heard = listener.Heard();
        ASSERT_FALSE(heard.empty()) << operation.name;
        EXPECT_TRUE(heard.front().starts_with("CHECK_POLICY:files d")) << operation.name << heard.front();
        EXPECT_TRUE(heard.back().starts_with(operation.event)) << operation.name << heard.back();
        EXPECT_NE(heard.back().find(" a b c"), std::string::npos) << operation.name << heard.back();
    }
}

TEST_F(PolicyModifySteps, WordsThatChangeNoPolicyStillSendWhatWaited) {
    Fill();
    PolicyListener listener;
    node.Install(Policy("d", {"c"}));
    EXPECT_RAISES(node->ModifyCategory("tester", "c", Selection(), told, PolicyOperation::AddCategory),
                  PolicyNotFoundError, 122);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files d"));
    node.Install(Policy("e"));
    EXPECT_RAISES(node->ModifyAttributes("tester", "k=w", Selection(), told, PolicyOperation::RemoveAttribute),
                  PolicyNotFoundError, 126);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files e"));
}

TEST_F(PolicyModifySteps, ARefusedChangeSendsNothing) {
    Fill();
    PolicyListener listener;
    node.Install(Policy("d"));
    EXPECT_RAISES(node->SetStatus("tester", Selection(), PolicyOperation::Enable, told), NoPolicyOperation, 116);
    EXPECT_RAISES(node->SetOwner("tester", "o", Selection().SetPolicyOwner("nobody"), told), PolicyNotFoundError, 118);
    EXPECT_RAISES(node->ModifyCategory("tester", "x", Selection(), told, PolicyOperation::Action(99)),
                  LumPalMsg::IllegalStateError_t, 121);
    EXPECT_THAT(listener.Heard(), IsEmpty());
}

}  // namespace
}  // namespace LumConf
