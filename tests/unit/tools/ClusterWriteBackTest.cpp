// Whether a monitor could set keys of its own node, as lumcluster tells of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Files.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "lumcluster/Checks.h"

namespace {

using lumcluster::Finding;
using lumcluster::Findings;
using lumcluster::Keys;
using lumcluster::LocalName;
using lumcluster::Subject;
using lumcluster::WriteBackProblem;
using lumtools::MonitorState;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kProduct = "VERITAS Cluster Server (VCS)";

class WriteBack : public testing::Test {
protected:
    WriteBack() {
        InstallTrust("authority", authority.Certificate());
        Configure("sec.core", "CORE_ID", "node-1");
    }
    void Certify(const std::string& commonName, const std::string& names = "IP:127.0.0.1") {
        InstallIdentity("node-1", authority.Issue(commonName, names));
    }
    /// @param lines  of the domain "conf"
    void Grant(const std::string& lines) const {
        WriteText(root.Native() + "/etc/authorization.ini", "[conf]\n" + lines + "\n");
    }
    static std::string Problem(const std::string& local = "127.0.0.1") { return WriteBackProblem({local, true}); }
    static Keys KeysOf(const char* product, const char* interval, const char* mode) {
        Keys keys;
        keys.type = product;
        keys.pollingInterval = interval;
        keys.monitorMode = mode;
        return keys;
    }
    static Finding::State StateWith(const char* product) { return FindingWith(KeysOf(product, "", "")).state; }
    /// @param isFollowed  by a monitor that runs
    static Finding FindingWith(const Keys& keys, bool isFollowed = false) {
        Subject subject;
        subject.keys = keys;
        subject.follower.isDaemonThere = true;
        subject.follower.record.emplace().phase =
            isFollowed ? MonitorState::Phase::Watching : MonitorState::Phase::Waiting;
        subject.sight.local = {"127.0.0.1", true};
        subject.keys.localNodeName = "127.0.0.1";
        subject.sight.isClusterSeen = true;
        subject.sight.product = kProduct;
        Findings findings;
        CheckWriteBack(subject, findings);
        return findings.at(0);
    }

    const TempRoot root;
    const TestAuthority authority{"authority"};
};

TEST_F(WriteBack, TheNodesOwnCertificateIsEnough) {
    Certify("node-1");
    EXPECT_EQ(Problem(), "");
    EXPECT_EQ(Problem("127.0.0.1:7443"), "") << "a port is none of its names";
    EXPECT_EQ(StateWith("odd"), Finding::State::Ok);
}

TEST_F(WriteBack, WithoutACertificateThereIsNoRight) {
    EXPECT_THAT(Problem(), HasSubstr("this node has no certificate"));
    EXPECT_EQ(StateWith("odd"), Finding::State::Failed);
    EXPECT_EQ(StateWith(kProduct), Finding::State::Note) << "nothing is to be set";
}

TEST_F(WriteBack, WhatIsEmptyBesideAMonitorThatRunsIsToBeSet) {
    struct Row {
        Keys keys;
        const char *told, *advice;
    };
    const Row rows[] = {
        {KeysOf(kProduct, "", "true"), "POLLING_INTERVAL is empty: the monitor",
         "set POLLING_INTERVAL to the value that is meant again (lumsettings set conf.cluster)"},
        {KeysOf(kProduct, "10000", ""), "MONITOR_MODE is empty: the monitor",
         "set MONITOR_MODE to the value that is meant again (lumsettings set conf.cluster)"},
        {KeysOf(kProduct, "", ""), "POLLING_INTERVAL is empty, and MONITOR_MODE is empty: the monitor",
         "set POLLING_INTERVAL and MONITOR_MODE to the values that are meant again (lumsettings set conf.cluster)"},
        {KeysOf("", "10000", "true"), "CLUSTER_TYPE is empty: the monitor",
         "conf.cluster 'CLUSTER_TYPE=VERITAS Cluster Server (VCS)'"},
        {KeysOf("odd", "", "true"), "CLUSTER_TYPE is 'odd', and POLLING_INTERVAL is empty: the monitor would set",
         "lumsettings set conf.cluster 'CLUSTER_TYPE=VERITAS Cluster Server (VCS)', and set POLLING_INTERVAL to the "
         "value that is meant again (lumsettings set conf.cluster)"},
    };
    for (const Row& row : rows) {
        const Finding found = FindingWith(row.keys, true);
        EXPECT_EQ(found.state, Finding::State::Failed) << row.told;
        EXPECT_THAT(found.finding, HasSubstr(row.told));
        EXPECT_THAT(found.advice, EndsWith(row.advice));
        EXPECT_THAT(found.advice, Not(HasSubstr("MODE=")))
            << "what the monitor follows now may be another one: nobody switches policies by this";
    }
    EXPECT_EQ(FindingWith(KeysOf(kProduct, "10000", "true"), true).state, Finding::State::Note);
    EXPECT_EQ(FindingWith(KeysOf(kProduct, "", "")).state, Finding::State::Note)
        << "the daemon fills them for the next monitor";
    Certify("node-1");
    EXPECT_EQ(FindingWith(KeysOf("", "", ""), true).state, Finding::State::Ok);
}

TEST_F(WriteBack, ACertificateOfAnotherNeedsTheRightThatSetsKeys) {
    Certify("somebody else");
    EXPECT_THAT(Problem(), HasSubstr("that of 'somebody else' and not of 'node-1'"));
    EXPECT_THAT(Problem(), HasSubstr("configset (128)"));
    EXPECT_EQ(StateWith("odd"), Finding::State::Failed);
    for (const char* lines : {"somebody else=64", "another=128", "somebody else=configget list"}) {
        Grant(lines);
        EXPECT_THAT(Problem(), HasSubstr("configset (128)")) << lines;
    }
    for (const char* lines : {"somebody else=128", "somebody else=configset", "somebody else=all"}) {
        Grant(lines);
        EXPECT_EQ(Problem(), "") << lines;
        EXPECT_EQ(StateWith("odd"), Finding::State::Ok) << lines;
    }
}

TEST_F(WriteBack, ANameThatMeansNobodyHasNoRightWhateverIsGranted) {
    Grant("conf.cluster=all\nlocal administrator=all");
    for (const char* name : {"conf.cluster", "local administrator"}) {
        Certify(name);
        EXPECT_THAT(Problem(), HasSubstr("configset (128)")) << name;
    }
}

TEST_F(WriteBack, TheCertificateNamesTheHostThatTheRequestGoesTo) {
    for (const char* names : {"IP:192.0.2.1", "DNS:localhost", ""}) {
        Certify("node-1", names);
        EXPECT_THAT(Problem(), HasSubstr("'127.0.0.1' is none of the hosts that its certificate names")) << names;
        EXPECT_EQ(StateWith("odd"), Finding::State::Failed);
    }
    Certify("node-1", "DNS:localhost");
    EXPECT_EQ(Problem("localhost"), "");
    EXPECT_THAT(Problem("no.such.name.invalid"), HasSubstr("is no address of this system"));
    EXPECT_THAT(Problem("a b"), HasSubstr("is no address of this system"));
}

}  // namespace
