#include "Groups.h"
#include "RpcConfigHandler.h"
#include "Senders.h"
#include "SettingsServer.h"

namespace {

struct SenderRow {
    const char* sender;
    bool mayGet, mayChange;
};

const SenderRow kSenders[] = {
    {"one", false, false},      {"two", false, false},           {"four", false, false},
    {"eight", false, false},    {"sixteen", false, false},       {"thirtytwo", false, false},
    {"sixtyfour", true, false}, {"onetwentyeight", false, true}, {"twofiftysix", false, false},
    {"none", false, false},     {"stranger", false, false},
};

/// The operations work on a package, so that the node's own settings stay.
class RpcConfigHandlerRights : public SendersTest {
protected:
    ~RpcConfigHandlerRights() override { std::filesystem::remove_all(node.Root() + "/etc/pal/config/rg1"); }
};

TEST_F(RpcConfigHandlerRights, EachOperationIsOpenToItsRightAlone) {
    for (const SenderRow& row : kSenders) {
        for (const int mode : {kGet, kSet, kClearNamespace, kClearAttribute}) {
            SCOPED_TRACE(std::string(row.sender) + " " + std::to_string(mode));
            const Reply reply = As(row.sender).Config(mode, GroupOf({{"test.a", "X", "1"}}), "rg1");
            EXPECT_EQ(reply.value, (mode == kGet ? row.mayGet : row.mayChange) ? 1 : 8) << reply.text;
            EXPECT_TRUE(reply.hasGroup);
            if (reply.value == 8) {
                EXPECT_EQ(reply.group.GetConfigCount(), 0);
                EXPECT_EQ(reply.text, "Sender with id '" + std::string(row.sender) +
                                          "' is not authorized to execute the configuration parameter operation.");
            }
        }
    }
}

TEST_F(RpcConfigHandlerRights, WhoMayOnlyGetReadsWhatWhoMayOnlyChangeHasSet) {
    EXPECT_EQ(As("onetwentyeight").Config(kSet, GroupOf({{"test.a", "X", "1"}}), "rg1").value, 1);
    EXPECT_EQ(As("sixtyfour").Config(kSet, GroupOf({{"test.a", "X", "2"}}), "rg1").value, 8);
    EXPECT_EQ(Shown(As("sixtyfour").Config(kGet, GroupOf({}), "rg1").group), "[test.a]X=1;");
    EXPECT_EQ(node.Audited("Configuration set operation completed successfully. Calling system: 'onetwentyeight'"), 1);
    EXPECT_EQ(node.Audited("Calling system 'sixtyfour' is not authorized to call operation: 'config set'."), 1);
}

}  // namespace
