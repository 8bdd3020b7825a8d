// A cycle of the monitor whose changes cannot be written.
#include "MonitoredNode.h"

namespace {

class MonitorUnwritten : public MonitoredNode {
protected:
    MonitorUnwritten() {
        Install("listed");
        Install("grouped", {"HARG:web"});
        Write({{"shop", {{"one", "web"}}, {"listed"}, {Note("start")}}});
    }
};

TEST_F(MonitorUnwritten, ADocumentThatIsSpoiltEndsEachCycleAtItsReportUntilItIsMended) {
    const std::string document = node.InstallFolder() + "/files/listed_header.xml";
    Begin();
    Step();
    ForgetQueue();
    PolicyListener listener;
    const std::string kept = ReadText(document);
    WriteText(document, "<spoilt/>");
    Move("web", "north");
    for (int i = 1; i <= 3; ++i) {
        Step();
        EXPECT_TRUE(running);
        EXPECT_EQ(CountOf(log.Text(), "ERROR Config exception in monitor thread."), i) << log.Text();
        EXPECT_EQ(CountOf(log.Text(), "ERROR"), i) << "nothing else";
        EXPECT_NE(watcher.hindrance.find("Config exception in monitor thread."), std::string::npos);
    }
    EXPECT_EQ(Notes(), "start one\n") << "once";
    EXPECT_EQ(StoredStatusOf("grouped"), "enabled");
    EXPECT_EQ(listener.Heard(), std::vector<std::string>{"ENABLE_POLICY:files grouped"}) << "the others are reported";
    WriteText(document, kept);
    Step();
    EXPECT_EQ(watcher.hindrance, "");
    EXPECT_EQ(StoredStatusOf("listed"), "enabled");
    EXPECT_EQ(CountOf(log.Text(), "ERROR"), 3);
}

}  // namespace
