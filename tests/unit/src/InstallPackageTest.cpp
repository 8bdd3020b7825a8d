// Several policies in one package.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Exceptions.h"
#include "InstallOptionsImpl.h"
#include "LumPalXml.h"
#include "PolicyNode.h"
#include "TraceLines.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using testing::ElementsAre;
using testing::IsEmpty;

TestPolicy Policy(const std::string& id, const std::string& type = "files") {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.type = type;
    policy.data = {{id + ".txt", "data of " + id}};
    return policy;
}

class InstallPackageTest : public testing::Test {
protected:
    void Install(const CharArray_t& package) { node->InstallPackage("tester", package, options); }
    void InstallSilently(const CharArray_t& package) {
        options.SetNotify(false);
        Install(package);
    }
    PolicyNode node;
    InstallOptions options;
};

TEST_F(InstallPackageTest, EveryPolicyIsInstalledAndTheyAreToldTogetherAtTheEnd) {
    PolicyListener listener;
    Install(PackageOf({Policy("a"), Policy("c", "other"), Policy("b")}));
    EXPECT_EQ(node.Ids(), "a b c");
    EXPECT_EQ(node.Installed().size(), 6u);
    EXPECT_EQ(node.InstalledContent("files/b.txt"), "data of b");
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a b", "FIRST_POLICY:other ",
                                              "CHECK_POLICY:other c"));
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_EQ(node.Audited("was successfully installed"), 3);
    EXPECT_EQ(node.Audited("Success Audit: NOTIFY"), 1);
    EXPECT_TRUE(options.GetImpl().GetNotify());
}

TEST_F(InstallPackageTest, WithoutNotificationNothingIsSent) {
    PolicyListener listener;
    InstallSilently(PackageOf({Policy("a"), Policy("b")}));
    EXPECT_THAT(listener.Heard(), IsEmpty());
    EXPECT_FALSE(options.GetImpl().GetNotify());
    node->Notify("tester");
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a b"));
}

TEST_F(InstallPackageTest, APackageOfOneAndOfNoneAreGood) {
    PolicyListener listener;
    Install(PackageOf({Policy("a")}));
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_NO_THROW(Install(PackageOf({})));
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a"));
}

TEST_F(InstallPackageTest, TheOptionsHoldForEveryPolicy) {
    options.SetDisabled().SetOwner("me");
    InstallSilently(PackageOf({Policy("a"), Policy("b")}));
    for (const char* id : {"a", "b"}) {
        EXPECT_TRUE(node.Get(id).IsDisabled());
        EXPECT_EQ(node.Get(id).GetOwner(), "me");
    }
}

TEST_F(InstallPackageTest, ALaterPolicyOfThePackageUpdatesAnEarlierOne) {
    TestPolicy update = Policy("a");
    update.version = "2";
    InstallSilently(PackageOf({Policy("a"), update}));
    EXPECT_EQ(node.Get("a").GetVersion(), "2");
}

TEST_F(InstallPackageTest, APolicyOfALimitedTypeIsPassedOverAndSaidAtTheEndWhenTheOthersWereTold) {
    PolicyListener listener;
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    const CharArray_t package = PackageOf({Policy("a"), Policy("b"), Policy("c", "other")});
    const CaughtFailure failure = FailureOf<NoMultiplePoliciesException>([&] { Install(package); });
    EXPECT_EQ(failure.id, 677u);
    EXPECT_NE(failure.text.find("Policy of the type 'files' is already installed"), std::string::npos);
    EXPECT_EQ(node.Ids(), "a c");
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a", "FIRST_POLICY:other ",
                                              "CHECK_POLICY:other c"));
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_TRUE(options.GetImpl().GetNotify());
}

TEST_F(InstallPackageTest, EveryPolicyThatWasPassedOverIsSaid) {
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files, other");
    const CharArray_t package = PackageOf({Policy("a"), Policy("b"), Policy("c", "other"), Policy("d", "other")});
    const CaughtFailure failure = FailureOf<NoMultiplePoliciesException>([&] { InstallSilently(package); });
    EXPECT_NE(failure.text.find("'files'"), std::string::npos);
    EXPECT_NE(failure.text.find("'other'"), std::string::npos);
}

TEST_F(InstallPackageTest, AnotherFailureEndsThePackageAndTheEarlierPoliciesStayQueued) {
    PolicyListener listener;
    TestPolicy bad = Policy("b");
    bad.document = bad.Document();
    bad.data.clear();
    EXPECT_EQ(FailureOf<PolicyFileException>([&] { Install(PackageOf({Policy("a"), bad, Policy("c")})); }).id, 107u);
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_FALSE(options.GetImpl().GetNotify());
    EXPECT_THAT(listener.Heard(), IsEmpty());
    node->Notify("tester");
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a"));
}

TEST_F(InstallPackageTest, AMalformedDocumentEndsThePackage) {
    TestPolicy bad = Policy("b");
    bad.document = "<header xmlns=\"http://lum.tessel.com/xmlns/conf/2003/04\">";
    EXPECT_THROW(InstallSilently(PackageOf({Policy("a"), bad, Policy("c")})), LumPalXml::SAX::SAXParseException_t);
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(InstallPackageTest, WhenNobodyCanBeToldThePoliciesAreInstalled) {
    EXPECT_EQ(FailureOf<LumCtrl::ControlException>([&] { Install(PackageOf({Policy("a"), Policy("b")})); }).id, 91u);
    EXPECT_EQ(node.Ids(), "a b");
    EXPECT_EQ(node.Audited("Failure Audit: NOTIFY"), 1);
}

TEST_F(InstallPackageTest, WhenNobodyCanBeToldThatHidesFromTheCallerWhatWasPassedOverAndTheLogSaysIt) {
    const CapturedLog log(node.Root().Native());
    Configure("conf.server", "NOMULTIPLEPOLICIES", "files");
    const CharArray_t package = PackageOf({Policy("a"), Policy("b"), Policy("c", "other")});
    const CaughtFailure failure = FailureOf<LumCtrl::ControlException>([&] { Install(package); });
    EXPECT_EQ(failure.id, 91u);
    EXPECT_EQ(failure.text.find("The policy package installation failed."), std::string::npos) << failure.text;
    EXPECT_EQ(failure.text.find("limited to NOMULTIPLEPOLICIES"), std::string::npos) << failure.text;
    EXPECT_EQ(node.Ids(), "a c");
    EXPECT_EQ(node.Audited("Failure Audit: NOTIFY"), 1);
    EXPECT_TRUE(options.GetImpl().GetNotify());
    EXPECT_TRUE(
        log.Holds("ERROR The policy package installation failed.\n  Policy of the type 'files' is already "
                  "installed and is limited to NOMULTIPLEPOLICIES"))
        << log.Text();
}

TEST_F(InstallPackageTest, WhenNobodyCanBeToldOfAPackageThatIsInstalledWholeTheLogSaysNothingOfThePackage) {
    const CapturedLog log(node.Root().Native());
    EXPECT_THROW(Install(PackageOf({Policy("a"), Policy("b")})), LumCtrl::ControlException);
    EXPECT_FALSE(log.Holds("policy package")) << log.Text();
}

TEST_F(InstallPackageTest, APackageCutAtAnyByteFailsAndWhatCameBeforeTheCutIsInstalled) {
    const CharArray_t package = PackageOf({Policy("a"), Policy("b")});
    const std::size_t firstEnd = 4 + Policy("a").Array().GetLength();
    for (std::size_t length = 0; length < package.GetLength(); length += length < 40 ? 1 : 7) {
        const CaughtFailure failure =
            FailureOf<ConfException>([&] { InstallSilently(CharArray_t(package.GetData(), length)); });
        EXPECT_EQ(failure.id, 605u) << length;
        EXPECT_EQ(node.Ids(), length >= firstEnd ? "a" : "") << length;
    }
}

TEST_F(InstallPackageTest, CountsThatCannotBeThereAreRefused) {
    for (const std::int32_t count : {-1, INT32_MIN, INT32_MAX, 1000}) {
        LumPalIo::CharArrayOutputStream_t bytes;
        LumPalIo::DataOutputStream_t out(bytes);
        out.WriteInt32(count);
        Policy("a").WriteArray(out);
        EXPECT_EQ(FailureOf<ConfException>([&] { InstallSilently(bytes.ToCharArray()); }).id, 605u) << count;
        EXPECT_EQ(node.Ids(), "") << count;
    }
}

TEST_F(InstallPackageTest, WhoTracesSeesWhatAPackageHoldsAndABadPackageFailsAllTheSame) {
    TraceLines trace;
    InstallSilently(PackageOf({Policy("a")}));
    EXPECT_TRUE(trace.Contains("package holds a_header.xml"));
    EXPECT_TRUE(trace.Contains("package holds a.txt"));
    EXPECT_EQ(FailureOf<ConfException>([&] { InstallSilently(CharArray_t("xx")); }).id, 605u);
}

}  // namespace
}  // namespace LumConf
