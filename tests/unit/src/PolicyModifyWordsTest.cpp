// Changes of the categories and attributes of installed policies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string_view>

#include "Exceptions.h"
#include "Faults.h"
#include "LumPalFault.h"
#include "PolicyModifyTest.h"
#include "Raised.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Options = PolicyForwarder::Options;

// Categories

TEST_F(PolicyModifyTest, CategoriesArePartedByBlanks) {
    Install({"a"});
    AddCategory("  one two   three ");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files a"));
    EXPECT_EQ(Categories(Stored("a")), "one;two;three;");
    RemoveCategory("three one");
    EXPECT_EQ(Categories(Stored("a")), "two;");
    EXPECT_EQ(node.Audited(Line("Success", "MODIFY", "a", "category was successfully changed.")), 2);
}

TEST_F(PolicyModifyTest, MoreCategoriesThanOneOperationTakesChangeNothing) {
    std::string words;
    for (int i = 0; i < 100001; ++i) words += std::to_string(i) + ' ';
    Install({"a"});
    AddCategory("c d");
    EXPECT_THROW(AddCategory(words.c_str()), LumPalMsg::IllegalArgumentError_t);
    EXPECT_EQ(Categories(Stored("a")), "c;d;");
    EXPECT_EQ(node.Audited("Failure Audit: MODIFY: "), 1);
    RemoveCategory((words + "c").c_str());
    EXPECT_EQ(Categories(Stored("a")), "d;") << "what no policy has does not count";
}

TEST_F(PolicyModifyTest, ACategoryThatAllPoliciesHaveChangesNothing) {
    Install({"a", "b"});
    AddCategory("c");
    Queued();
    const std::string before = Document("a") + Document("b");
    EXPECT_RAISES(AddCategory("c"), PolicyNotFoundError, 122);
    EXPECT_RAISES(RemoveCategory("other"), PolicyNotFoundError, 122);
    EXPECT_RAISES(AddCategory("   "), PolicyNotFoundError, 122);
    EXPECT_EQ(Document("a") + Document("b"), before);
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy category modified successfully."), 3);
    EXPECT_THAT(node.Temporary(), IsEmpty());
}

TEST_F(PolicyModifyTest, FromTheFirstPolicyWhoseCategoriesChangeOnAllAreRewrittenAndTold) {
    TestPolicy a = Policy("a"), c = Policy("c");
    a.categories = c.categories = {"x"};
    Install(a);
    Install({"b"});
    Install(c);
    AddCategory("x");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b c"));
    EXPECT_EQ(node.Audited("category was successfully changed."), 2);
}

TEST_F(PolicyModifyTest, OtherCategoryActionsAreAnErrorOfTheCaller) {
    Install({"a"});
    for (int action : {0, 1, 2, 5, 6, -1}) {
        EXPECT_RAISES(node->ModifyCategory("tester", "c", Selection(), quiet, PolicyOperation::Action(action)),
                      LumPalMsg::IllegalStateError_t, 121);
    }
    EXPECT_EQ(node.Audited("Failure Audit: MODIFY: Policy category could not be modified. Calling system: 'tester'"),
              6);
}

TEST_F(PolicyModifyTest, CategoriesOfNoPolicyAreNotFoundAlsoInAnEmptyStore) {
    EXPECT_RAISES(AddCategory("c"), PolicyNotFoundError, 122);
    EXPECT_RAISES(RemoveCategory("c"), PolicyNotFoundError, 122);
    EXPECT_RAISES(node->RemoveAllCategories("tester", Selection(), quiet), PolicyNotFoundError, 122);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy category modified successfully."), 3);
}

TEST_F(PolicyModifyTest, AllCategoriesAreTakenFromThosePoliciesThatHaveSome) {
    TestPolicy b = Policy("b");
    b.categories = {"x", "y"};
    Install({"a"});
    Install(b);
    node->RemoveAllCategories("tester", Selection(), quiet);
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b"));
    EXPECT_EQ(Categories(Stored("b")), "");
    EXPECT_EQ(node.Audited(Line("Success", "MODIFY", "b", "category was successfully changed.")), 1);
    EXPECT_RAISES(node->RemoveAllCategories("tester", Selection(), quiet), PolicyNotFoundError, 123);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy category modified successfully."), 1);
}

// Attributes

TEST_F(PolicyModifyTest, AnAttributeIsPartedAtItsFirstEqualsSign) {
    Install({"a"});
    AddAttribute("key=one");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files a"));
    AddAttribute("key=one=two");
    EXPECT_EQ(Attributes(Stored("a")), "key=one;key=one=two;");
    RemoveAttribute("key=one");
    EXPECT_EQ(Attributes(Stored("a")), "key=one=two;");
    // Kept: a value with another one can be added, but not be named for removal.
    EXPECT_RAISES(RemoveAttribute("key=one=two"), LumPalMsg::IllegalArgumentError_t, 71);
    EXPECT_EQ(node.Audited(Line("Success", "MODIFY", "a", "attribute was successfully changed.")), 3);
}

TEST_F(PolicyModifyTest, AnAttributeWithoutEqualsSignIsItsNameAndItsValue) {
    Install({"a"});
    AddAttribute("word");
    EXPECT_EQ(Attributes(Stored("a")), "word=word;");
    RemoveAttribute("word");
    EXPECT_EQ(Attributes(Stored("a")), "");
}

TEST_F(PolicyModifyTest, OnlyThePoliciesWhoseAttributesChangeAreRewritten) {
    TestPolicy a = Policy("a"), c = Policy("c");
    a.attributes = c.attributes = {{"k", "v"}};
    Install(a);
    Install({"b"});
    Install(c);
    AddAttribute("k=v");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b"));
    EXPECT_EQ(node.Audited("attribute was successfully changed."), 1);
    EXPECT_RAISES(AddAttribute("k=v"), PolicyNotFoundError, 126);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy attribute modified successfully."), 1);
}

TEST_F(PolicyModifyTest, AnAttributeIsRemovedFromThosePoliciesThatHaveSome) {
    TestPolicy b = Policy("b");
    b.attributes = {{"k", "v"}};
    Install({"a"});
    EXPECT_RAISES(RemoveAttribute("k=v"), PolicyNotFoundError, 126);
    Install(b);
    EXPECT_RAISES(RemoveAttribute("k=other"), PolicyNotFoundError, 126);
    RemoveAttribute("k=v");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b"));
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy attribute modified successfully."), 2);
}

/// Counts the rewrites of documents, each of which takes its place by a rename.
class Renames {
public:
    Renames() {
        count = 0;
        LumPalIo::SetFaultHookForTest([](const char* operation, const char* path) {
            // The node's settings are written at the same time, elsewhere.
            const bool isDocument = std::string_view(path).find("/conf_tmp/") != std::string_view::npos;
            if (isDocument && std::string_view(operation) == "rename") ++count;
            return false;
        });
    }
    ~Renames() { LumPalIo::SetFaultHookForTest(nullptr); }
    int Get() const { return count; }

private:
    static inline std::atomic<int> count;
};

struct RepeatedRow {
    const char* what;
    std::function<void(PolicyOperation&, const Selection&, const Options&)> change;
    const char* line;
    int audited;  ///< lines for a policy that the selection gives three times
};

class PolicyModifyRepeated : public PolicyModifyTest, public testing::WithParamInterface<RepeatedRow> {};

TEST_P(PolicyModifyRepeated, APolicyThatASelectionGivesSeveralTimesIsRewrittenOnce) {
    TestPolicy a = Policy("a"), b = Policy("b");
    a.attributes = b.attributes = {{"group", "1"}, {"group", "2"}, {"other", "1"}, {"group", "3"}};
    a.categories = b.categories = {"net"};
    Install(a);
    Install(b);
    const Renames renames;
    GetParam().change(node.Operation(), Selection().SetPolicyAttribute("group"), quiet);
    EXPECT_EQ(renames.Get(), 2) << GetParam().what;
    EXPECT_EQ(node.Audited(std::string("Success Audit:") + GetParam().line), 2 * GetParam().audited);
    EXPECT_EQ(Queued().size(), 1u);
}

const RepeatedRow kRepeated[] = {
    {"Status",
     [](PolicyOperation& o, const Selection& s, const Options& q) { o.SetStatus("t", s, PolicyOperation::Disable, q); },
     " DISABLE: Policy (name", 3},
    {"Owner", [](PolicyOperation& o, const Selection& s, const Options& q) { o.SetOwner("t", "me", s, q); },
     " MODIFY: Policy (name", 0},
    {"AddCategory",
     [](PolicyOperation& o, const Selection& s, const Options& q) {
         o.ModifyCategory("t", "disk", s, q, PolicyOperation::AddCategory);
     },
     " MODIFY: Policy (name", 3},
    {"RemoveCategory",
     [](PolicyOperation& o, const Selection& s, const Options& q) {
         o.ModifyCategory("t", "net", s, q, PolicyOperation::RemoveCategory);
     },
     " MODIFY: Policy (name", 3},
    {"AllCategories",
     [](PolicyOperation& o, const Selection& s, const Options& q) { o.RemoveAllCategories("t", s, q); },
     " MODIFY: Policy (name", 3},
    {"AddAttribute",
     [](PolicyOperation& o, const Selection& s, const Options& q) {
         o.ModifyAttributes("t", "k=v", s, q, PolicyOperation::AddAttribute);
     },
     " MODIFY: Policy (name", 1},
    {"RemoveAttribute",
     [](PolicyOperation& o, const Selection& s, const Options& q) {
         o.ModifyAttributes("t", "group=2", s, q, PolicyOperation::RemoveAttribute);
     },
     " MODIFY: Policy (name", 1},
    {"AllAttributes",
     [](PolicyOperation& o, const Selection& s, const Options& q) { o.RemoveAllAttributes("t", s, q); },
     " MODIFY: Policy (name", 3},
};
INSTANTIATE_TEST_SUITE_P(Rows, PolicyModifyRepeated, testing::ValuesIn(kRepeated),
                         [](const auto& row) { return std::string(row.param.what); });

TEST_F(PolicyModifyTest, ABadAttributeIsRefusedAndAuditedAsAFailure) {
    Install({"a"});
    const std::string before = Document("a");
    EXPECT_RAISES(AddAttribute("=v"), LumPalMsg::IllegalArgumentError_t, 70);
    EXPECT_EQ(Document("a"), before);
    EXPECT_EQ(node.Audited("Failure Audit: MODIFY: Policy attribute could not be modified."), 1);
    EXPECT_THAT(Queued(), IsEmpty());
}

TEST_F(PolicyModifyTest, OtherAttributeActionsAreAnErrorOfTheCallerWithoutAnAuditLine) {
    Install({"a"});
    for (int action : {0, 1, 2, 3, 4, 7, -1}) {
        EXPECT_RAISES(node->ModifyAttributes("tester", "k=v", Selection(), quiet, PolicyOperation::Action(action)),
                      LumPalMsg::IllegalStateError_t, 124);
    }
    EXPECT_EQ(node.Audited("MODIFY"), 0);
}

TEST_F(PolicyModifyTest, AttributesOfNoPolicyAreNotFoundAlsoInAnEmptyStore) {
    EXPECT_RAISES(AddAttribute("k=v"), PolicyNotFoundError, 125);
    EXPECT_RAISES(RemoveAttribute("k=v"), PolicyNotFoundError, 125);
    EXPECT_RAISES(node->RemoveAllAttributes("tester", Selection(), quiet), PolicyNotFoundError, 127);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy attribute modified successfully."), 3);
}

TEST_F(PolicyModifyTest, AllAttributesAreTakenFromThosePoliciesThatHaveSome) {
    TestPolicy b = Policy("b");
    b.attributes = {{"k", "v"}, {"l", "w"}};
    Install({"a"});
    Install(b);
    node->RemoveAllAttributes("tester", Selection(), quiet);
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b"));
    EXPECT_EQ(Attributes(Stored("b")), "");
    EXPECT_EQ(node.Audited(Line("Success", "MODIFY", "b", "attribute was successfully changed.")), 1);
    EXPECT_RAISES(node->RemoveAllAttributes("tester", Selection(), quiet), PolicyNotFoundError, 127);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy attribute modified successfully."), 1);
}

}  // namespace
}  // namespace LumConf
