#include <gtest/gtest.h>

#include "Faults.h"
#include "LumPalIo.h"
#include "Raised.h"
#include "SettingsFiles.h"
#include "SettingsWriter.h"
#include "TraceLines.h"

namespace {

using LumConfPar::SettingsWriter;
using LumPalIo::IOException_t;
using LumPalMsg::MessageList_t;
using LumPalMsg::Severity_e;

constexpr char kOld[] = "[a]\nk=old\n";
constexpr char kNew[] = "[a]\nk=new\n";
constexpr char kCompareError[] =
    "Error during comparing from policy settings file 'policy_settings.ini' and new policy settings file "
    "'new_policy_settings.ini'.";

class SettingsWriterFault : public testing::Test {
protected:
    SettingsWriter Writer() const { return SettingsWriter("", GroupOf({{"a", "k", "new"}})); }

    /// What writing raises: one message with the number and text.
    MessageList_t Raised(unsigned id, const std::string& text) const {
        SettingsWriter writer = Writer();
        const MessageList_t messages = MessagesOf<IOException_t>([&] { writer.WritePolicySettings(); });
        EXPECT_EQ(messages.GetMessageCount(), 1);
        if (messages.GetMessageCount() != 1) return messages;
        EXPECT_EQ(messages.GetMessage(0).GetId(), id);
        EXPECT_EQ(messages.GetMessage(0).GetSeverity(), Severity_e::Error);
        EXPECT_EQ(messages.GetMessage(0).Format(LumPalMsg::BareText).ToUtf8(), text);
        return messages.GetMessage(0).GetDetails();
    }

    const SettingsFiles files;
    const TraceLines trace;
};

TEST_F(SettingsWriterFault, AFileInTheDirectorysPlaceOrAboveItIsTold) {
    const std::string folder = files.Folder().substr(0, files.Folder().size() - 1);
    for (const std::string& place : {std::filesystem::path(folder).parent_path().string(), folder}) {
        WriteText(place);
        Raised(183, "Could not create directory '" + files.Folder() + "' when writing policy settings.");
        std::filesystem::remove(place);
    }
}

TEST_F(SettingsWriterFault, AFolderOrAPipeInTheNewFilesPlaceIsTold) {
    std::filesystem::create_directories(files.NewPolicy());
    EXPECT_GT(Raised(184, "Could not open file '" + files.NewPolicy() + "'.").GetMessageCount(), 0);
    std::filesystem::remove(files.NewPolicy());
    ASSERT_EQ(mkfifo(files.NewPolicy().c_str(), 0600), 0);
    EXPECT_GT(Raised(184, "Could not open file '" + files.NewPolicy() + "'.").GetMessageCount(), 0);
}

TEST_F(SettingsWriterFault, AnOldFileThatCannotBeReadCountsAsDifferent) {
    std::filesystem::create_directories(files.Folder());
    ASSERT_EQ(mkfifo(files.Policy().c_str(), 0600), 0);
    Writer().WritePolicySettings();
    EXPECT_TRUE(trace.Contains(kCompareError));
    EXPECT_EQ(ReadText(files.Policy()), kNew);
    EXPECT_FALSE(files.HasNewPolicy());
}

TEST_F(SettingsWriterFault, AFolderInTheOldFilesPlaceCountsAsDifferentAndCannotBeReplaced) {
    std::filesystem::create_directories(files.Policy());
    EXPECT_GT(Raised(186, "Could not write new policy settings file '" + files.NewPolicy() + "'.").GetMessageCount(),
              0);
    EXPECT_TRUE(trace.Contains(kCompareError));
    EXPECT_TRUE(files.WasApplied());
    std::filesystem::remove(files.Policy());
    Writer().WritePolicySettings();
    EXPECT_EQ(ReadText(files.Policy()), kNew);
}

TEST_F(SettingsWriterFault, AnUpdateThatFailsIsTold) {
    std::filesystem::create_directories(files.Folder() + ".lock");
    WriteText(files.Policy(), kOld);
    EXPECT_GT(Raised(186, "Could not write new policy settings file '" + files.NewPolicy() + "'.").GetMessageCount(),
              0);
    EXPECT_EQ(ReadText(files.Policy()), kOld);
}

/// The number that a failure of the operation has; 0 when it goes no further.
unsigned ExpectedFor(const std::string& operation, const SettingsFiles& files, const TraceLines& trace) {
    // A folder is made with its name on the disk.
    const std::string folder = std::filesystem::path(files.NewPolicy()).parent_path().string();
    const bool flushesParent = operation.starts_with("fsync ") && folder.starts_with(operation.substr(6) + "/");
    if (operation.starts_with("mkdir ") || flushesParent) return 183;
    if (operation == "open " + files.NewPolicy()) return 184;
    // The comparison reads, and the update behind it.
    if (operation.starts_with("read ") && trace.Contains(kCompareError)) return 0;
    return 186;
}

/// Writes while operations fail. @return the number raised; 0 for none
unsigned Write(SettingsWriter& writer) {
    try {
        writer.WritePolicySettings();
        return 0;
    } catch (const IOException_t& e) {
        return e.GetMessageList().GetMessage(0).GetId();
    }
}

void TryWithFault(int nth, FaultMode mode, bool hasOld, bool& fired) {
    const SettingsFiles files(kFastFolder);
    if (hasOld) WriteText(files.Policy(), kOld);
    SettingsWriter writer("", GroupOf({{"a", "k", "new"}}));
    const TraceLines trace;
    Faults faults(nth, mode);
    const unsigned raised = Write(writer);
    faults.Stop();
    fired = faults.Fired();
    if (!fired) {
        EXPECT_EQ(raised, 0u);
        return;
    }
    SCOPED_TRACE(faults.Failed());
    // When everything fails from a comparison on, the update behind it does too.
    if (mode == FaultMode::Once || ExpectedFor(faults.Failed(), files, trace) != 0) {
        EXPECT_EQ(raised, ExpectedFor(faults.Failed(), files, trace));
    }
    const std::string text = ReadText(files.Policy());
    EXPECT_TRUE(text == kNew || (raised != 0 && text == (hasOld ? kOld : ""))) << text;
    if (raised == 0) return;
    EXPECT_EQ(Write(writer), 0u) << "an operation that failed may be repeated";
    EXPECT_EQ(ReadText(files.Policy()), kNew);
    EXPECT_FALSE(files.HasNewPolicy());
}

TEST(SettingsWriterFaults, AnyFailureLeavesTheOldSettingsOrTheNewOnesAndIsTold) {
    for (const FaultMode mode : {FaultMode::Once, FaultMode::FromThenOn, FaultMode::DiskFull}) {
        for (const bool hasOld : {true, false}) {
            int faults = 0;
            ForEachFault([&](int nth) {
                bool fired = false;
                TryWithFault(nth, mode, hasOld, fired);
                faults += fired;
                return fired;
            });
            EXPECT_GE(faults, 5);
        }
    }
}

TEST_F(SettingsWriterFault, AFailureWhileWritingLeavesNoHalfFileBehind) {
    int tried = 0;
    ForEachFault([&](int nth) {
        WriteText(files.Policy(), kOld);
        Faults faults(nth);
        SettingsWriter writer = Writer();
        Write(writer);
        faults.Stop();
        const std::string failed = faults.Failed();
        if (failed == "write " + files.NewPolicy() || failed == "close " + files.NewPolicy()) {
            ++tried;
            EXPECT_FALSE(files.HasNewPolicy()) << failed;
            EXPECT_EQ(ReadText(files.Policy()), kOld) << failed;
        }
        return faults.Fired();
    });
    EXPECT_EQ(tried, 2);
}

TEST_F(SettingsWriterFault, AReadThatFailsCountsAsDifferentWhicheverFileItIs) {
    WriteText(files.Policy(), kNew);
    int tried = 0;
    ForEachFault([&](int nth) {
        std::filesystem::remove(files.Folder() + ".lock");
        const TraceLines own;
        Faults faults(nth);
        SettingsWriter writer = Writer();
        Write(writer);
        faults.Stop();
        if (faults.Failed() == "read " + files.Policy() || faults.Failed() == "read " + files.NewPolicy()) {
            ++tried;
            EXPECT_TRUE(own.Contains(kCompareError)) << faults.Failed();
            EXPECT_TRUE(files.WasApplied()) << faults.Failed();
        }
        return faults.Fired();
    });
    EXPECT_EQ(tried, 2);
}

TEST_F(SettingsWriterFault, ALinkInTheNewFilesPlaceIsNotWrittenThrough) {
    const std::string foreign = files.Root() + "/foreign";
    WriteText(foreign, "kept");
    const unsigned mode = ModeOf(foreign);
    std::filesystem::create_directories(files.Folder());
    std::filesystem::create_symlink(foreign, files.NewPolicy());
    SettingsWriter writer = Writer();
    EXPECT_EQ(Write(writer), 0u);
    EXPECT_EQ(ReadText(foreign), "kept");
    EXPECT_EQ(ModeOf(foreign), mode);
    EXPECT_EQ(ReadText(files.Policy()), kNew);
    EXPECT_FALSE(std::filesystem::is_symlink(files.Policy()));
}

TEST_F(SettingsWriterFault, AFlushThatFailsIsToldAlsoOfSettingsThatAreInForceAlready) {
    for (const char* const before : {kOld, kNew}) {
        int flushes = 0;
        ForEachFault([&](int nth) {
            WriteText(files.Policy(), before);
            std::filesystem::remove(files.NewPolicy());  // so that each round counts the same operations
            Faults faults(nth);
            SettingsWriter writer = Writer();
            const unsigned raised = Write(writer);
            faults.Stop();
            if (!faults.Failed().starts_with("fsync ")) return faults.Fired();
            ++flushes;
            EXPECT_EQ(raised, 186u) << faults.Failed();
            return true;
        });
        EXPECT_GE(flushes, 2);
    }
}

TEST_F(SettingsWriterFault, SettingsWhoseLastStepFailedAreNotCalledInForceUntilTheyAreOnTheDisk) {
    WriteText(files.Policy(), kOld);
    {
        const FailingFile folder("fsync", "/config");
        Raised(186, "Could not write new policy settings file '" + files.NewPolicy() + "'.");
        EXPECT_EQ(ReadText(files.Policy()), kNew);
    }
    const FailingFile folder("fsync", "/config");
    Raised(186, "Could not write new policy settings file '" + files.NewPolicy() + "'.");
}

TEST_F(SettingsWriterFault, AnEqualFileThatCannotBeDeletedIsOnlyTraced) {
    WriteText(files.Policy(), kNew);
    bool tried = false;
    ForEachFault([&](int nth) {
        std::filesystem::remove(files.Folder() + ".lock");
        Faults faults(nth);
        SettingsWriter writer = Writer();
        const unsigned raised = Write(writer);
        faults.Stop();
        if (faults.Failed() != "unlink " + files.NewPolicy()) return faults.Fired();
        tried = true;
        EXPECT_EQ(raised, 0u);
        EXPECT_TRUE(trace.Contains("could not delete " + files.NewPolicy()));
        EXPECT_TRUE(files.HasNewPolicy());
        EXPECT_EQ(ModeOf(files.NewPolicy()), 0660u) << "the next settings are written there";
        return false;
    });
    ASSERT_TRUE(tried);
    EXPECT_FALSE(files.WasApplied());
    Writer().WritePolicySettings();
    EXPECT_FALSE(files.HasNewPolicy());
}

TEST_F(SettingsWriterFault, ALocalChangeThatFailsMayBeRepeated) {
    WriteText(files.Local(), kOld);
    int failures = 0;
    ForEachFault([&](int nth) {
        WriteText(files.Local(), kOld);
        SettingsWriter writer = Writer();
        Faults faults(nth);
        bool failed = false;
        try {
            writer.WriteLocalSettings();
        } catch (const IOException_t&) {
            failed = true;
        }
        faults.Stop();
        const std::string text = ReadText(files.Local());
        EXPECT_TRUE(text == kNew || (failed && text == kOld)) << faults.Failed();
        if (failed) {
            EXPECT_NO_THROW(writer.WriteLocalSettings()) << faults.Failed();
        }
        EXPECT_EQ(ReadText(files.Local()), kNew);
        failures += failed;
        return faults.Fired();
    });
    EXPECT_GE(failures, 5);
}

}  // namespace
