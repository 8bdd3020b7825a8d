// What a request that found no room left, and what becomes of what could not be deleted at once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "Faults.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

using testing::IsEmpty;
using testing::Not;

TestPolicy Policy(const std::string& version) {
    TestPolicy policy;
    policy.version = version;
    policy.data = {{"one", "one of " + version}, {"two", "two of " + version}};
    return policy;
}

/// No file gets room, for the reason that the system gives; what is to be deleted stays too if that is asked for.
class NoRoom {
public:
    NoRoom(int reason, const std::string& operation, bool keep) {
        error = reason;
        failing = operation;
        keeps = keep;
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~NoRoom() { LumPalIo::SetFaultHookForTest(nullptr); }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;

private:
    static bool Hook(const char* operation, const char* path) {
        const std::string_view place = path;
        if (operation == failing && place.find("/log/") == place.npos) {
            errno = error;
            return true;
        }
        return keeps && std::string_view(operation) == "unlink" && place.find("/incoming/") != place.npos;
    }

    inline static int error = 0;
    inline static std::string failing;
    inline static bool keeps = false;
};

TEST(NoRoom, WhatAFailedInstallUnpackedGoesAtOnceWhateverFoundNoRoomAndWhatIsInstalledStays) {
    PolicyNode node(kFastFolder);
    node.Install(Policy("1"));
    const auto before = node.Installed();
    for (const int error : {ENOSPC, EDQUOT}) {
        for (const char* operation : {"open", "write", "fsync"}) {
            SCOPED_TRACE(std::string(operation) + " " + strerror(error));
            {
                const NoRoom full(error, operation, false);
                EXPECT_THROW(node.Install(Policy("2")), LumPalMsg::Exception_t);
            }
            EXPECT_THAT(node.Incoming(), IsEmpty());
            EXPECT_THAT(node.Temporary(), IsEmpty());
            EXPECT_EQ(node.Installed(), before);
            EXPECT_EQ(node.InstalledContent("files/one"), "one of 1");
        }
    }
    node.Install(Policy("2"));
    EXPECT_EQ(node.InstalledContent("files/one"), "one of 2");
}

TEST(NoRoom, WhatCouldNotBeDeletedGoesWhenTheNextInstallBegins) {
    PolicyNode node(kFastFolder);
    {
        const NoRoom full(ENOSPC, "fsync", true);
        EXPECT_THROW(node.Install(Policy("1")), LumPalMsg::Exception_t);
    }
    EXPECT_THAT(node.Incoming(), Not(IsEmpty()));
    TestPolicy other;
    other.id = "other";
    other.name = "other";
    node.Install(other);
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_EQ(node.Ids(), "other");
}

}  // namespace
}  // namespace LumConf
