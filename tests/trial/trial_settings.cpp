// Several processes with one node's settings. This process starts no thread, so that its copies may.
#include <gtest/gtest.h>
#include <sys/inotify.h>

#include <future>
#include <stdexcept>
#include <string>

#include "Faults.h"
#include "ForkedProcess.h"
#include "LumPalConfig.h"
#include "SettingsClear.h"
#include "SettingsFiles.h"
#include "SettingsReader.h"
#include "SettingsWriter.h"

namespace {

using LumConfPar::SettingsClear;
using LumConfPar::SettingsReader;
using LumConfPar::SettingsWriter;
using LumPalConfig::ChangedConfiguration_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigNamespace_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

/// Lines from one process to another.
class Line {
public:
    Line() {
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    ~Line() {
        for (const int end : ends) {
            if (end >= 0) close(end);
        }
    }
    void Say(const std::string& text) const {
        const std::string line = text + "\n";
        if (write(ends[1], line.data(), line.size()) < 0) _exit(4);
    }
    /// The next line; empty when nobody is left to say one.
    std::string Hear() const {
        std::string line;
        for (char c; read(ends[0], &c, 1) == 1 && c != '\n';) line += c;
        return line;
    }
    /// This process says nothing any more.
    void CloseMouth() {
        close(ends[1]);
        ends[1] = -1;
    }

private:
    int ends[2];
};

/// Counts how often a file of a folder was written, put in place or taken away.
class FileEvents {
public:
    explicit FileEvents(const std::string& folder) : queue(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        constexpr auto events = IN_MODIFY | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CREATE;
        if (inotify_add_watch(queue, folder.c_str(), events) < 0) throw std::runtime_error("cannot watch " + folder);
    }
    int CountOf(const std::string& name) const {
        int count = 0;
        alignas(inotify_event) char block[65536];
        for (ssize_t got; (got = read(queue, block, sizeof block)) > 0;) {
            for (ssize_t at = 0; at < got;) {
                const auto* event = reinterpret_cast<const inotify_event*>(block + at);
                count += event->len > 0 && name == event->name;
                at += static_cast<ssize_t>(sizeof *event + event->len);
            }
        }
        return count;
    }

private:
    const int queue;
};

/// Says each change of one attribute.
class Teller : public LumPalConfig::ConfigChangeHandler_i {
public:
    explicit Teller(const Line& said) : said(said) {}
    void Update(const ChangedConfiguration_t&, const Configuration_t& configuration) override {
        said.Say("told " + configuration.GetValue("k").ToUtf8());
    }

private:
    const Line& said;
};

/// What a registered process does until nobody asks any more.
void Listen(const std::string& folder, const Line& asked, const Line& said) {
    Teller teller(said);
    const ConfigNamespace_t nameSpace("a");
    nameSpace.Register(teller);
    const FileEvents events(folder);
    said.Say("registered");
    asked.Hear();
    nameSpace.Unregister(teller);
    said.Say("the file changed " + std::to_string(events.CountOf("policy_settings.ini")) + " times");
}

void WritePolicies(const char* value) {
    SettingsWriter("", GroupOf({{"a", "k", value}})).WritePolicySettings();
}

TEST(SettingsOfProcesses, EqualPolicySettingsWakeNobodyWhomDifferentOnesWakeBeforeAndAfter) {
    const SettingsFiles files;
    Line asked, said;
    ForkedProcess listener([&] {
        asked.CloseMouth();
        Listen(files.Folder(), asked, said);
    });
    said.CloseMouth();
    ASSERT_EQ(said.Hear(), "registered");
    WritePolicies("1");
    EXPECT_EQ(said.Hear(), "told 1");
    for (int i = 0; i < 100; ++i) WritePolicies("1");
    WritePolicies("2");
    EXPECT_EQ(said.Hear(), "told 2");
    for (int i = 0; i < 100; ++i) WritePolicies("2");
    asked.CloseMouth();
    EXPECT_EQ(said.Hear(), "the file changed 2 times");
    EXPECT_EQ(listener.Wait(), 0);
}

std::string NameOf(int writer, int round) {
    return "w" + std::to_string(writer) + "_" + std::to_string(round);
}

/// Of the attributes of one writer exactly one is there, or the two last ones.
void Check(int writer, int round, int count) {
    const Configuration_t all = SettingsReader("").Read().GetConfig("a");
    int own = 0;
    String_t name, value;
    const String_t prefix = String_t::FromUtf8("w" + std::to_string(writer) + "_");
    for (int i = 0; all.GetAttr(i, name, value); ++i) own += name.Find(prefix) == 0;
    const bool hasLast = all.GetValue(String_t::FromUtf8(NameOf(writer, round))) == LumPalStr::NumToStr(round);
    if (own != count || !hasLast) throw std::runtime_error("round " + NameOf(writer, round) + " lost an update\n");
}

/// Sets one attribute after the other, and clears the one before.
void SetAndClear(int writer, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        ConfigGroup_t group;
        group.GetConfig("a").SetAttrValue(String_t::FromUtf8(NameOf(writer, round)), LumPalStr::NumToStr(round));
        SettingsWriter("", group).WriteLocalSettings();
        Check(writer, round, round == 0 ? 1 : 2);
        SettingsClear("", "a").ClearAttr(String_t::FromUtf8(NameOf(writer, round - 1)));
        Check(writer, round, 1);
    }
}

TEST(SettingsOfProcesses, TwoThatSetAndClearAtOnceLoseNoUpdate) {
    const SettingsFiles files(kFastFolder);
    ForkedProcess first([] { SetAndClear(0, 2000); });
    ForkedProcess second([] { SetAndClear(1, 2000); });
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(ReadText(files.Local()), "[a]\nw0_1999=1999\nw1_1999=1999\n");
}

/// Sees every change that it is told of.
class Watcher : public LumPalConfig::ConfigChangeHandler_i {
public:
    Watcher() { nameSpace.Register(*this); }
    ~Watcher() override { nameSpace.Unregister(*this); }
    void Update(const ChangedConfiguration_t&, const Configuration_t& configuration) override {
        if (configuration.GetNamespace() != "a") _exit(5);
    }

private:
    const ConfigNamespace_t nameSpace{"a"};
};

void SetAndClearInTwoThreads(int writer, int rounds) {
    const Watcher watcher;
    std::future<void> other = std::async(std::launch::async, SetAndClear, writer + 1, rounds);
    SetAndClear(writer, rounds);
    other.get();
}

TEST(SettingsOfProcesses, TwoThatSetAndClearInTwoThreadsEachWhileTheyAreToldLoseNoUpdate) {
    const SettingsFiles files(kFastFolder);
    ForkedProcess first([] { SetAndClearInTwoThreads(0, 200); });
    ForkedProcess second([] { SetAndClearInTwoThreads(2, 200); });
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_EQ(ReadText(files.Local()), "[a]\nw0_199=199\nw1_199=199\nw2_199=199\nw3_199=199\n");
}

/// Lets a process stop in the middle of the new policy settings until it is told to go on.
class HalfWritten {
public:
    static constexpr char kHalf[] = "[a]\nk=ne";
    static void Start(const Line& reached, const Line& goOn) {
        reachedLine = &reached;
        goOnLine = &goOn;
        LumPalIo::SetFaultHookForTest(Hook);
    }

private:
    static bool Hook(const char* operation, const char* path) {
        if (std::string(operation) != "write" || !std::string(path).ends_with("/new_policy_settings.ini")) return false;
        WriteText(path, kHalf);
        reachedLine->Say("half written");
        goOnLine->Hear();
        return false;
    }
    inline static const Line *reachedLine, *goOnLine;
};

TEST(SettingsOfProcesses, LocalChangesLeaveWhatAnotherProcessHasHalfWritten) {
    const SettingsFiles files;
    WriteText(files.Policy(), "[a]\nk=old\n");
    Line reached, goOn;
    ForkedProcess writer([&] {
        goOn.CloseMouth();
        HalfWritten::Start(reached, goOn);
        WritePolicies("new");
    });
    reached.CloseMouth();
    ASSERT_EQ(reached.Hear(), "half written");
    ConfigGroup_t withoutAttributes;
    withoutAttributes.GetConfig("a");
    for (const ConfigGroup_t& group : {ConfigGroup_t(), withoutAttributes, GroupOf({{"b", "k", "1"}})}) {
        SettingsWriter("", group).WriteLocalSettings();
    }
    SettingsClear("", "b").ClearAttr("k");
    SettingsClear("", "b").ClearNamespace();
    EXPECT_EQ(ReadText(files.NewPolicy()), HalfWritten::kHalf);
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=old\n");
    goOn.Say("go on");
    EXPECT_EQ(writer.Wait(), 0);
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=new\n");
    EXPECT_FALSE(files.HasNewPolicy());
}

constexpr int kWidth = 200;

ConfigGroup_t WideGroup(const String_t& value) {
    ConfigGroup_t group;
    for (int i = 0; i < kWidth; ++i) group.GetConfig("wide").SetAttrValue(LumPalStr::NumToStr(i), value);
    return group;
}

/// Whether all attributes are there, with one value.
bool IsWhole(const Configuration_t& wide) {
    String_t name, value;
    for (int i = 0; wide.GetAttr(i, name, value); ++i) {
        if (value != wide.GetValue("0")) return false;
    }
    return wide.GetAttrCount() == kWidth;
}

TEST(SettingsOfProcesses, WhoeverReadsAndSetsWhilePolicySettingsChangeSeesThemWhole) {
    const SettingsFiles files(kFastFolder);
    SettingsWriter("", WideGroup("0")).WritePolicySettings();
    ForkedProcess writer([&] {
        for (int i = 1; i <= 200; ++i) SettingsWriter("", WideGroup(LumPalStr::NumToStr(i))).WritePolicySettings();
    });
    ForkedProcess setter([&] {
        for (int i = 0; i < 200; ++i) {
            SettingsWriter("", i % 2 ? ConfigGroup_t() : GroupOf({{"b", "k", std::to_string(i).c_str()}}))
                .WriteLocalSettings();
            SettingsClear("", "b").ClearNamespace();
        }
    });
    while (!writer.HasEnded()) {
        const Configuration_t wide = SettingsReader("").Read().GetConfig("wide");
        ASSERT_TRUE(IsWhole(wide)) << wide.GetAttrCount() << " attributes";
    }
    EXPECT_EQ(SettingsReader("").Read().GetConfig("wide").GetValue("0"), "200");
    EXPECT_EQ(writer.Wait(), 0);
    EXPECT_EQ(setter.Wait(), 0);
    EXPECT_FALSE(files.HasNewPolicy());
}

}  // namespace
