#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <thread>
#include <vector>

#include "LumPalCmd.h"
#include "LumPalTrc.h"
#include "TraceFilter.h"

namespace {

using namespace LumPalTrc;
using LumPalStr::String_t;

const TraceObj_t kSteps("test.component", 2);

struct Line {
    std::string component;
    int level;
    std::string text;
};

Listener_t CollectInto(std::vector<Line>& lines) {
    return [&lines](const char* component, int level, const String_t& text) {
        lines.push_back({component, level, text.ToUtf8()});
    };
}

int built = 0;
String_t Built() {
    ++built;
    return "built";
}

TEST(Trace, BuildsNoTextWhenNobodyListens) {
    built = 0;
    EXPECT_FALSE(kSteps.IsOn());
    LUM_TRACE(kSteps, Built());
    kSteps.DoTrace(0, "nobody", __FILE__, __LINE__);
    EXPECT_EQ(built, 0);
}

TEST(Trace, BuildsTheTextOnceForAllListeners) {
    built = 0;
    std::vector<Line> first, second;
    const ScopedListener_t one(CollectInto(first)), two(CollectInto(second));
    LUM_TRACE(kSteps, Built());
    EXPECT_EQ(built, 1);
    ASSERT_EQ(first.size(), 1u);
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(first[0].component, "test.component");
    EXPECT_EQ(first[0].level, 2);
    EXPECT_EQ(first[0].text, "built");
}

TEST(Trace, ListenerHearsNothingMoreWhenItWent) {
    std::vector<Line> lines;
    {
        const ScopedListener_t listener(CollectInto(lines));
        EXPECT_TRUE(kSteps.IsOn());
        LUM_TRACE(kSteps, String_t("heard"));
    }
    EXPECT_FALSE(kSteps.IsOn());
    LUM_TRACE(kSteps, String_t("not heard"));
    EXPECT_EQ(lines.size(), 1u);
}

TEST(Trace, BlockMarksEntryAndExitAtItsLevel) {
    std::vector<Line> lines;
    const ScopedListener_t listener(CollectInto(lines));
    {
        const BlockTrace_t outer(kSteps, "Outer", 3, __FILE__, __LINE__);
        const BlockTrace_t inner(kSteps, "Inner", 4, __FILE__, __LINE__);
    }
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].text, "> Outer");
    EXPECT_EQ(lines[0].level, 3);
    EXPECT_EQ(lines[1].text, "> Inner");
    EXPECT_EQ(lines[2].text, "< Inner");
    EXPECT_EQ(lines[2].level, 4);
    EXPECT_EQ(lines[3].text, "< Outer");
}

TEST(Trace, BlockMarksItsExitWhenAnExceptionLeavesIt) {
    std::vector<Line> lines;
    const ScopedListener_t listener(CollectInto(lines));
    try {
        const BlockTrace_t block(kSteps, "Block", 3, __FILE__, __LINE__);
        throw 1;
    } catch (int) {
    }
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].text, "< Block");
}

TEST(Trace, BlockThatNobodyHeardBeginStaysSilent) {
    std::vector<Line> lines;
    {
        std::unique_ptr<ScopedListener_t> listener;
        const BlockTrace_t block(kSteps, "Block", 3, __FILE__, __LINE__);
        listener = std::make_unique<ScopedListener_t>(CollectInto(lines));
    }
    EXPECT_TRUE(lines.empty());
}

TEST(Trace, WhatAListenerTracesItselfIsDropped) {
    int heard = 0;
    const ScopedListener_t listener([&heard](const char*, int, const String_t&) {
        ++heard;
        LUM_TRACE(kSteps, String_t("nested"));
    });
    LUM_TRACE(kSteps, String_t("outer"));
    EXPECT_EQ(heard, 1);
}

TEST(Trace, ListenersComeAndGoWhileOthersTrace) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 300; ++n) LUM_TRACE(kSteps, String_t("line"));
        });
    }
    for (int n = 0; n < 100; ++n) {
        std::vector<Line> lines;
        const ScopedListener_t listener(CollectInto(lines));
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_FALSE(kSteps.IsOn());
}

TEST(TraceFilter, SaysWhichComponentIsWantedUpToWhichLevel) {
    const struct {
        const char* text;
        const char* component;
        int level;
        bool expected;
    } rows[] = {
        {"conf.policy", "conf.policy", 3, true},
        {"conf.policy", "conf.message", 1, false},
        {"conf.policy", "conf.policy.more", 1, false},
        {"conf.policy:3", "conf.policy", 3, true},
        {"conf.policy:3", "conf.policy", 4, false},
        {"conf.policy:3,conf.message", "conf.message", 9, true},
        {" conf.policy : 2 , conf.message ", "conf.policy", 2, true},
        {" conf.policy : 2 , conf.message ", "conf.message", 5, true},
        {"*", "anything", 99, true},
        {"*:1", "anything", 2, false},
        {"*:1,conf.policy:2", "conf.policy", 2, true},
        {"conf.policy:x", "conf.policy", 1, false},
        {"conf.policy:2x", "conf.policy", 1, false},
        {"conf.policy:", "conf.policy", 1, false},
        {":3", "", 1, false},
        {",,,", "conf.policy", 1, false},
        {"", "conf.policy", 1, false},
        {nullptr, "conf.policy", 1, false},
        {"CONF.POLICY", "conf.policy", 1, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(TraceFilter(row.text).IsOn(row.component, row.level), row.expected)
            << (row.text ? row.text : "null") << " for " << row.component << ":" << row.level;
    }
}

TEST(TraceFilter, IsEmptyWhenNothingIsWanted) {
    for (const char* const text : {"", " ", ",", ":1", "a:b"}) EXPECT_TRUE(TraceFilter(text).IsEmpty()) << text;
    EXPECT_TRUE(TraceFilter(nullptr).IsEmpty());
    EXPECT_FALSE(TraceFilter("*").IsEmpty());
}

// The environment is read once, so that it takes a process of its own to try it: this is what runs in it.
TEST(TraceChild, IsOnOnlyWhenTheEnvironmentSaysSo) {
    EXPECT_EQ(kSteps.IsOn(), getenv("LUM_TRACE") != nullptr);
    EXPECT_FALSE(kSteps.IsOn(4));
    LUM_TRACE(kSteps, String_t("spoken\nforged"));
    const BlockTrace_t heard(kSteps, "Heard", 3, "folder/File.cpp", 7);
    const BlockTrace_t unheard(kSteps, "Unheard", 4, "folder/File.cpp", 8);
}

TEST(Trace, GoesToStandardErrorWhenTheEnvironmentSaysSo) {
    LumPalCmd::Command_t child("/proc/self/exe --gtest_filter=TraceChild.*");
    child.PutEnv("LUM_TRACE", "other:1,test.component:3").RedirectOutput(LumPalCmd::Null);
    LumPalCmd::Process_t process = child.RedirectError(LumPalCmd::Pipe).Execute();
    LumPalIo::DataInputStream_t error(process.GetStandardError());
    std::string text;
    for (int line = 0; line < 3; ++line) text += std::string(error.ReadLine().View()) + "\n";
    EXPECT_THROW(error.ReadLine(), LumPalIo::EOFException_t) << "a line too many";
    EXPECT_EQ(process.WaitFor(), 0);
    EXPECT_NE(text.find(" TRACE test.component:2 Trace.cpp:"), std::string::npos) << text;
    EXPECT_NE(text.find(" spoken\\x0aforged\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" TRACE test.component:3 File.cpp:7 > Heard\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" TRACE test.component:3 File.cpp:7 < Heard\n"), std::string::npos) << text;
}

}  // namespace
