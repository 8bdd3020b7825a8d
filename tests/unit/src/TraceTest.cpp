#include "Trace.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace LumConf;
using LumPalStr::String_t;

TEST(Trace, EachComponentHasAnObjectForStepsAndOneForBlocks) {
    const trace::Component* components[] = {&trace::Policy(), &trace::Message(), &trace::Config(), &trace::Cluster(),
                                            &trace::ClusterCliOutputs()};
    const char* componentNames[] = {"conf.policy", "conf.message", "conf.config", "conf.cluster",
                                    "conf.cluster.clioutputs"};
    for (int i = 0; i < 5; ++i) {
        EXPECT_STREQ(components[i]->steps.GetComponent(), componentNames[i]);
        EXPECT_STREQ(components[i]->blocks.GetComponent(), componentNames[i]);
        EXPECT_EQ(components[i]->steps.GetLevel(), 2);
        EXPECT_EQ(components[i]->blocks.GetLevel(), 3);
    }
}

TEST(Trace, AStepReachesAListenerAndItsTextIsBuiltForOneOnly) {
    int built = 0;
    auto text = [&built] {
        ++built;
        return String_t("step");
    };
    LUMCONF_TRACE(trace::Policy, text());
    EXPECT_EQ(built, 0);
    std::vector<std::string> heard;
    LumPalTrc::ScopedListener_t listener([&heard](const char* component, int level, const String_t& line) {
        heard.push_back(std::string(component) + "/" + std::to_string(level) + "/" + line.ToUtf8());
    });
    LUMCONF_TRACE(trace::Policy, text());
    EXPECT_EQ(built, 1);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0], "conf.policy/2/step");
}

TEST(Trace, ABlockIsTracedAtItsEntryAndItsExit) {
    int lines = 0;
    LumPalTrc::ScopedListener_t listener([&lines](const char*, int level, const String_t&) { lines += level == 3; });
    { LUMCONF_BLOCK(trace::Cluster, "block"); }
    EXPECT_EQ(lines, 2);
}

}  // namespace
