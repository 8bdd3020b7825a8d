#include "common/MonitorState.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "Faults.h"
#include "Files.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "TempRoot.h"

namespace {

using lumtools::MonitorState;

std::string PathIn(const TempRoot& root) {
    return root.Native() + "/spool/cluster.monitor.json";
}

MonitorState Full() {
    MonitorState state;
    state.product = "VERITAS Cluster Server (VCS)";
    state.phase = MonitorState::Phase::Waiting;
    state.since = 1795341600;
    state.endedAt = 1795341600;
    state.endedBy = "one line\n  another with \"quotes\" and \xc3\xa4";
    state.successorAt = 1795341610;
    state.instances = {{"shop", "one", "web", true}, {"shop", "two", "db", false}};
    state.changed = {{"shop", "two", "db", false}};
    state.begun = {{"shop", "one", "web", true}};
    state.begunAt = 1795341605;
    state.hinderedBy = "the cluster is down";
    return state;
}

TEST(MonitorState, WhatIsWrittenIsReadAgain) {
    const TempRoot root;
    EXPECT_FALSE(MonitorState::Read().has_value()) << "there is none at first";
    for (const MonitorState& state : {MonitorState(), Full()}) {
        state.Write();
        EXPECT_EQ(MonitorState::Read(), state);
    }
    EXPECT_EQ(ModeOf(PathIn(root)), 0640u);
}

TEST(MonitorState, TheFileHasAStableForm) {
    const TempRoot root;
    Full().Write();
    const std::string text = ReadText(PathIn(root));
    for (const char* part :
         {"\"schema\": 1", "\"phase\": \"waiting\"", "\"since\": 1795341600", "\"ended_at\": 1795341600",
          "\"ended_by\": \"one line\\n", "\"successor_at\": 1795341610", "\"changed_unwatched\": [",
          "\"commands_begun\": [", "\"commands_begun_at\": 1795341605", "\"hindered_by\": \"the cluster is down\"",
          "\"application\": \"shop\"", "\"instance\": \"two\"", "\"group\": \"db\"", "\"here\": false"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

TEST(MonitorState, AFileOfAFormerDaemonIsReadWithoutWhatItDidNotKnow) {
    const TempRoot root;
    MonitorState former = Full();
    former.Write();
    std::string text = ReadText(PathIn(root));
    const auto from = text.find("\"commands_begun\""), to = text.find("\"ended_at\"");
    ASSERT_LT(from, to);
    text.erase(from, to - from);
    const auto line = text.find("\"hindered_by\"");
    text.erase(line, text.find('\n', line) - line);
    WriteText(PathIn(root), text);
    former.begun.clear();
    former.begunAt = 0;
    former.hinderedBy.clear();
    EXPECT_EQ(MonitorState::Read(), former);
}

TEST(MonitorState, AFileThatIsNoneIsToldWithItsName) {
    const TempRoot root;
    for (const char* text :
         {"", "{", "[]", "null", "{\"schema\": 2}", "{\"schema\": 1}", "{\"schema\": \"x\"}", "\x01\xff"}) {
        WriteText(PathIn(root), text);
        try {
            MonitorState::Read();
            ADD_FAILURE() << text;
        } catch (const LumPalMsg::RuntimeException_t& e) {
            EXPECT_NE(std::string(e.what()).find("cluster.monitor.json' does not tell of a cluster monitor"),
                      std::string::npos)
                << e.what();
        }
    }
    Full().Write();
    std::string text = ReadText(PathIn(root));
    text.replace(text.find("waiting"), 7, "resting");
    WriteText(PathIn(root), text);
    EXPECT_THROW(MonitorState::Read(), LumPalMsg::RuntimeException_t);
}

TEST(MonitorState, BytesThatAreNoTextDoNotKeepItFromBeingWritten) {
    const TempRoot root;
    MonitorState state = Full();
    state.endedBy = "\xff\xfe";
    state.Write();
    EXPECT_TRUE(MonitorState::Read().has_value());
}

TEST(MonitorState, AWriteThatFailsLeavesTheFormerFileAndNothingBesideIt) {
    const TempRoot root;
    MonitorState().Write();
    ForEachFault([&](int nth) {
        Faults faults(nth, FaultMode::DiskFull);
        try {
            Full().Write();
        } catch (const LumPalIo::IOException_t&) {
        }
        const bool fired = faults.Fired();
        faults.Stop();
        const auto state = MonitorState::Read();
        EXPECT_TRUE(state == MonitorState() || state == Full()) << nth;
        const auto files = std::distance(std::filesystem::directory_iterator(root.Native() + "/spool"), {});
        EXPECT_EQ(files, 1) << nth;
        MonitorState().Write();
        return fired;
    });
}

}  // namespace
