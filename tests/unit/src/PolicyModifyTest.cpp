// Changes of the headers of installed policies: status, owner, categories, attributes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string_view>

#include "Exceptions.h"
#include "Faults.h"
#include "FlushFollower.h"
#include "LumPalFault.h"
#include "PolicyNode.h"
#include "Raised.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;
using Options = PolicyForwarder::Options;

TestPolicy Policy(const std::string& id) {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.data = {{id + ".one", "1 of " + id}, {id + ".two", "2 of " + id}};
    return policy;
}

std::string Line(const char* outcome, const char* what, const std::string& id, const char* how) {
    return std::string(outcome) + " Audit: " + what + ": Policy (name: 'name of " + id + "', id: '" + id + "') " + how;
}

class PolicyModifyTest : public testing::Test {
protected:
    PolicyNode node;
    const Options quiet = Options().SetNotify(false);

    void Status(const Selection& selection, int action) { node->SetStatus("tester", selection, action, quiet); }
    void Owner(const char* owner, const Selection& selection = Selection()) {
        node->SetOwner("tester", owner, selection, quiet);
    }
    void AddCategory(const char* words, const Selection& selection = Selection()) {
        node->ModifyCategory("tester", words, selection, quiet, PolicyOperation::AddCategory);
    }
    void RemoveCategory(const char* words, const Selection& selection = Selection()) {
        node->ModifyCategory("tester", words, selection, quiet, PolicyOperation::RemoveCategory);
    }
    void AddAttribute(const char* text, const Selection& selection = Selection()) {
        node->ModifyAttributes("tester", text, selection, quiet, PolicyOperation::AddAttribute);
    }
    void RemoveAttribute(const char* text, const Selection& selection = Selection()) {
        node->ModifyAttributes("tester", text, selection, quiet, PolicyOperation::RemoveAttribute);
    }
    std::string Document(const std::string& id) { return node.InstalledContent("files/" + id + "_header.xml"); }
    /// The header as a new start reads it from the store.
    PolicyHeader Stored(const char* id) {
        node->ReinitCache("tester");
        return node.Get(id);
    }
    static std::string Categories(const PolicyHeader& header) {
        std::string all;
        for (int i = 0; i < header.GetCategoryCount(); ++i) all += header.GetCategory(i).ToUtf8() + ";";
        return all;
    }
    static std::string Attributes(const PolicyHeader& header) {
        std::string all;
        for (int i = 0; i < header.GetAttributesCount(); ++i) {
            const PolicyAttribute attribute = header.GetAttribute(i);
            all += attribute.GetName().ToUtf8() + "=" + attribute.GetValue().ToUtf8() + ";";
        }
        return all;
    }
    /// What the operation queued, as a consumer hears it with the next notification.
    std::vector<std::string> Queued() {
        node->Notify("tester");
        return listener.Heard();
    }
    PolicyListener listener;

    void Install(TestPolicy policy) {
        node.Install(policy);
        Queued();
    }
    void Install(std::initializer_list<const char*> ids) {
        for (const char* id : ids) node.Install(Policy(id));
        Queued();
    }
};

// Status

TEST_F(PolicyModifyTest, EnablingOneEnabledAndOneDisabledPolicyChangesOnlyTheSecond) {
    TestPolicy disabled = Policy("b");
    disabled.status = "disabled";
    Install({"a"});
    Install(disabled);
    const std::string before = Document("a");
    Status(Selection(), PolicyOperation::Enable);
    EXPECT_THAT(Queued(), ElementsAre("ENABLE_POLICY:files b"));
    EXPECT_EQ(Document("a"), before);
    EXPECT_EQ(node.Audited(Line("Success", "ENABLE", "b", "was successfully enabled. Calling system: 'tester'")), 1);
    EXPECT_EQ(node.Audited("ENABLE"), 1);
    EXPECT_TRUE(node.Get("b").IsEnabled());
    EXPECT_TRUE(Stored("b").IsEnabled());
}

TEST_F(PolicyModifyTest, EveryActionButEnableDisables) {
    int disabled = 0;
    for (int action : {static_cast<int>(PolicyOperation::Disable), 0, 3, -1, 2147483647}) {
        const std::string id = "p" + std::to_string(++disabled);
        Install(Policy(id));
        Status(Selection().SetPolicyId(String_t::FromUtf8(id)), action);
        EXPECT_THAT(Queued(), ElementsAre("DISABLE_POLICY:files " + id));
        EXPECT_TRUE(Stored(id.c_str()).IsDisabled());
        EXPECT_EQ(node.Audited(Line("Success", "DISABLE", id, "was successfully disabled.")), 1);
    }
}

TEST_F(PolicyModifyTest, EnablingPoliciesThatAreAllEnabledIsNothingToDoAndASuccessInTheAuditLog) {
    Install({"a", "b"});
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Enable), NoPolicyOperation, 116);
    EXPECT_EQ(node.Audited("Success Audit: ENABLE: Policy successfully enabled. Calling system: 'tester'"), 1);
    Status(Selection(), PolicyOperation::Disable);
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Disable), NoPolicyOperation, 116);
    EXPECT_EQ(node.Audited("Success Audit: DISABLE: Policy successfully disabled."), 1);
}

TEST_F(PolicyModifyTest, AStatusThatIsNeitherWordIsLeftAsItIs) {
    TestPolicy policy = Policy("a");
    policy.status = "parked";
    Install(policy);
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Enable), NoPolicyOperation, 116);
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Disable), NoPolicyOperation, 116);
    EXPECT_EQ(Stored("a").GetStatus(), "parked");
}

TEST_F(PolicyModifyTest, AStatusOfAnEmptyStoreOrOfNoSelectedPolicyLeavesNoAuditLine) {
    EXPECT_RAISES(Status(Selection(), PolicyOperation::Enable), NoPoliciesInstalledError, 109);
    Install({"a"});
    EXPECT_RAISES(Status(Selection().SetPolicyOwner("nobody"), PolicyOperation::Disable), PolicyNotFoundError, 115);
    EXPECT_EQ(node.Audited("ABLE"), 0);
}

TEST_F(PolicyModifyTest, AnIdThatIsNotInstalledIsNotFound) {
    Install({"a"});
    const Selection other = Selection().SetPolicyId("b");
    EXPECT_RAISES(Status(other, PolicyOperation::Enable), PolicyNotFoundError, 63);
    EXPECT_RAISES(Owner("o", other), PolicyNotFoundError, 63);
    EXPECT_RAISES(AddCategory("c", other), PolicyNotFoundError, 63);
    EXPECT_RAISES(AddAttribute("k=v", other), PolicyNotFoundError, 63);
    EXPECT_THAT(Queued(), IsEmpty());
}

// Failures on the way

TEST_F(PolicyModifyTest, AfterAFailureThePoliciesBeforeItStayChangedAndItsOwnStatusIsInTheCacheAlone) {
    Install({"a", "b", "c"});
    const std::string document = node.InstallFolder() + "/files/b_header.xml";
    fs::rename(document, document + ".away");
    EXPECT_THROW(Status(Selection(), PolicyOperation::Disable), LumPalIo::FileNotFoundException_t);
    fs::rename(document + ".away", document);
    EXPECT_TRUE(node.Get("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsDisabled());
    EXPECT_TRUE(node.Get("c").IsEnabled());
    EXPECT_EQ(node.Audited(Line("Success", "DISABLE", "a", "was")), 1);
    EXPECT_EQ(node.Audited(Line("Failure", "DISABLE", "b", "could not be disabled. Calling system: 'tester'")), 1);
    EXPECT_EQ(node.Audited("DISABLE"), 2);
    EXPECT_THAT(Queued(), ElementsAre("DISABLE_POLICY:files a"));
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_TRUE(Stored("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsEnabled());
}

TEST_F(PolicyModifyTest, EachOperationAuditsItsFailureInItsOwnWay) {
    TestPolicy policy = Policy("a");
    policy.categories = {"c"};
    policy.attributes = {{"k", "v"}};
    const struct {
        const char* what;
        std::function<void()> run;
        std::string line;
    } rows[] = {
        {"owner", [this] { Owner("o"); }, Line("Failure", "MODIFY", "a", "owner could not be changed.")},
        {"add category", [this] { AddCategory("d"); },
         Line("Failure", "MODIFY", "a", "category could not be changed.")},
        {"remove category", [this] { RemoveCategory("c"); },
         Line("Failure", "MODIFY", "a", "category could not be changed.")},
        {"all categories", [this] { node->RemoveAllCategories("tester", Selection(), quiet); },
         Line("Failure", "MODIFY", "a", "category could not be changed.")},
        {"add attribute", [this] { AddAttribute("x=y"); },
         "Failure Audit: MODIFY: Policy attribute could not be modified. Calling system: 'tester'"},
        {"remove attribute", [this] { RemoveAttribute("k=v"); },
         "Failure Audit: MODIFY: Policy attribute could not be modified. Calling system: 'tester'"},
        {"all attributes", [this] { node->RemoveAllAttributes("tester", Selection(), quiet); },
         Line("Failure", "MODIFY", "a", "attribute could not be changed.")},
    };
    Install(policy);
    for (const auto& row : rows) {
        node->ReinitCache("tester");
        const int before = node.Audited(row.line), failures = node.Audited("Failure Audit");
        fs::rename(node.InstallFolder() + "/files/a_header.xml", node.InstallFolder() + "/aside");
        EXPECT_THROW(row.run(), LumPalIo::FileNotFoundException_t) << row.what;
        fs::rename(node.InstallFolder() + "/aside", node.InstallFolder() + "/files/a_header.xml");
        EXPECT_EQ(node.Audited(row.line), before + 1) << row.what;
        EXPECT_EQ(node.Audited("Failure Audit"), failures + 1) << row.what;
    }
}

// Owner

TEST_F(PolicyModifyTest, SetOwnerChangesThosePoliciesThatHaveAnotherOne) {
    TestPolicy owned = Policy("a");
    owned.owner = "ops";
    Install(owned);
    Install({"b"});
    Owner("ops");
    EXPECT_THAT(Queued(), ElementsAre("CHECK_POLICY:files b"));
    EXPECT_EQ(Stored("b").GetOwner(), "ops");
    EXPECT_EQ(node.Audited("MODIFY"), 0) << "a changed owner leaves no line";
}

TEST_F(PolicyModifyTest, AnOwnerThatIsAlreadySetIsNamedForOnePolicyAndForSeveral) {
    Install({"a", "b"});
    Owner("ops");
    const CaughtFailure one = FailureOf<NoPolicyOperation>([this] { Owner("ops", Selection().SetPolicyId("a")); });
    EXPECT_EQ(one.id, 119u);
    EXPECT_THAT(one.text, HasSubstr("The policy (name 'name of a', id 'a') already has the owner 'ops'."));
    const CaughtFailure all = FailureOf<NoPolicyOperation>([this] { Owner("ops"); });
    EXPECT_EQ(all.id, 120u);
    EXPECT_THAT(all.text, HasSubstr("The selected policies 'a b' already have the owner 'ops'."));
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy owner changed successfully. Calling system: 'tester'"), 2);
}

TEST_F(PolicyModifyTest, AnOwnerForNoPolicyIsNotFoundAlsoInAnEmptyStore) {
    EXPECT_RAISES(Owner("ops"), PolicyNotFoundError, 118);
    Install({"a"});
    EXPECT_RAISES(Owner("ops", Selection().SetPolicyOwner("nobody")), PolicyNotFoundError, 118);
    EXPECT_EQ(node.Audited("Success Audit: MODIFY: Policy owner changed successfully."), 2);
}

TEST_F(PolicyModifyTest, AnOwnerCanBeTakenAway) {
    TestPolicy owned = Policy("a");
    owned.owner = "ops";
    Install(owned);
    Owner("");
    EXPECT_EQ(Stored("a").GetOwner(), "");
}

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

// What all have in common

TEST_F(PolicyModifyTest, TheDataFilesAreTouchedByNoneOfThem) {
    TestPolicy policy = Policy("a");
    policy.categories = {"c"};
    policy.attributes = {{"k", "v"}};
    Install(policy);
    const std::string file = node.InstallFolder() + "/files/a.one";
    const auto written = fs::last_write_time(file);
    Status(Selection(), PolicyOperation::Disable);
    Owner("o");
    AddCategory("d");
    RemoveCategory("d");
    node->RemoveAllCategories("tester", Selection(), quiet);
    AddAttribute("x=y");
    RemoveAttribute("x=y");
    node->RemoveAllAttributes("tester", Selection(), quiet);
    EXPECT_EQ(fs::last_write_time(file), written);
    EXPECT_EQ(PolicyNode::Content(file), "1 of a");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a.one", "files/a.two", "files/a_header.xml"));
    const PolicyHeader stored = Stored("a");
    EXPECT_TRUE(stored.IsDisabled());
    EXPECT_EQ(stored.GetOwner(), "o");
    EXPECT_EQ(stored.GetDataFileCount(), 2);
}

TEST_F(PolicyModifyTest, WithNotificationEachTellsAtOnce) {
    TestPolicy policy = Policy("a");
    Install(policy);
    const Options options;
    node->SetStatus("tester", Selection(), PolicyOperation::Disable, options);
    EXPECT_THAT(listener.Heard(), ElementsAre("DISABLE_POLICY:files a"));
    node->SetStatus("tester", Selection(), PolicyOperation::Enable, options);
    EXPECT_THAT(listener.Heard(), ElementsAre("ENABLE_POLICY:files a"));
    node->SetOwner("tester", "o", Selection(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->ModifyCategory("tester", "c", Selection(), options, PolicyOperation::AddCategory);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->RemoveAllCategories("tester", Selection(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->ModifyAttributes("tester", "k=v", Selection(), options, PolicyOperation::AddAttribute);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    node->RemoveAllAttributes("tester", Selection(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
}

TEST_F(PolicyModifyTest, WhatIsQueuedGoesOutAlsoWhenNothingChanged) {
    Install({"a"});
    AddCategory("c");
    EXPECT_THAT(listener.Heard(), IsEmpty());
    EXPECT_THROW(node->ModifyCategory("tester", "c", Selection(), Options(), PolicyOperation::AddCategory),
                 PolicyNotFoundError);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    AddAttribute("k=v");
    EXPECT_THROW(node->ModifyAttributes("tester", "k=v", Selection(), Options(), PolicyOperation::AddAttribute),
                 PolicyNotFoundError);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
}

TEST(PolicyModifyAlone, EachSucceedsThoughNobodyCanBeTold) {
    PolicyNode node;
    node.Install(Policy("a"));
    const Options options;
    EXPECT_NO_THROW(node->SetStatus("tester", Selection(), PolicyOperation::Disable, options));
    EXPECT_NO_THROW(node->SetOwner("tester", "o", Selection(), options));
    EXPECT_NO_THROW(node->ModifyCategory("tester", "c", Selection(), options, PolicyOperation::AddCategory));
    EXPECT_NO_THROW(node->RemoveAllCategories("tester", Selection(), options));
    EXPECT_NO_THROW(node->ModifyAttributes("tester", "k=v", Selection(), options, PolicyOperation::AddAttribute));
    EXPECT_NO_THROW(node->RemoveAllAttributes("tester", Selection(), options));
}

TEST(PolicyModifyOfManyTest, AChangeOfManyPoliciesFlushesThemTogether) {
    PolicyNode node(kFastFolder);
    for (int i = 0; i < 300; ++i) {
        TestPolicy policy;
        policy.id = "many-" + std::to_string(i);
        policy.name = policy.id;
        node.Install(policy);
    }
    const FlushFollower follower(node.Root().Native(), {"tmp"});
    node->SetOwner("tester", "together", Selection(), Options().SetNotify(false));
    EXPECT_THAT(follower.Faults(), testing::IsEmpty());
    // For each of two batches: the documents, the type's folder, the store's.
    EXPECT_LE(follower.Flushes(), 6);
    node.Restart();
    EXPECT_EQ(node.Get("many-299").GetOwner(), "together");
    EXPECT_THAT(node.Temporary(), testing::IsEmpty());
}

}  // namespace
}  // namespace LumConf
