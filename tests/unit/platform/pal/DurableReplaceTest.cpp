// Whole files in the place of others, and what killed processes leave of that.
#include "LumPalDurable.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "Faults.h"
#include "Files.h"
#include "FlushFollower.h"
#include "ForkedProcess.h"
#include "LumPalIo.h"
#include "TempRoot.h"

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

namespace fs = std::filesystem;

struct ReplaceFile : testing::Test {
    TempRoot root{kFastFolder};
    const std::string path = root.Native() + "/file";

    void Replace(const std::string& text, unsigned mode = 0600) const {
        LumPalIo::ReplaceFile(File_t(ToString(path)), ".mine", CharArray_t(text.data(), text.size()), mode);
    }
    void Tidy() const { LumPalIo::RemoveLeftAside(File_t(root.Path()), ".mine"); }
    std::string Path(const std::string& name) const { return root.Native() + "/" + name; }
    /// Everything in the folder but the file itself.
    std::vector<std::string> Others() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(root.Native()))
            if (entry.path() != path) names.push_back(entry.path().filename());
        return names;
    }
};

using Names = std::vector<std::string>;

/// Ends of a pipe between processes that were forked.
struct Line {
    Line() {
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
    }
    ~Line() {
        close(ends[0]);
        close(ends[1]);
    }
    void Tell() const {
        if (write(ends[1], "x", 1) != 1) throw std::runtime_error("cannot write to a pipe");
    }
    void Hear() const {
        char byte;
        if (read(ends[0], &byte, 1) != 1) throw std::runtime_error("cannot read from a pipe");
    }
    int ends[2];
};

const Line* reached = nullptr;
const Line* released = nullptr;

bool StopBeforeRename(const char* operation, const char*) {
    if (std::string_view(operation) != "rename") return false;
    reached->Tell();
    released->Hear();
    return false;
}

}  // namespace

TEST_F(ReplaceFile, MakesAFileAndReplacesOneWithItsModeWhateverTheUmask) {
    const mode_t before = umask(0077);
    Replace("first", 0644);
    EXPECT_EQ(ReadText(path), "first");
    EXPECT_EQ(ModeOf(path), 0644u);
    umask(0);
    Replace("", 0600);
    umask(before);
    EXPECT_EQ(ReadText(path), "");
    EXPECT_EQ(ModeOf(path), 0600u);
    EXPECT_EQ(Others(), Names());
}

TEST_F(ReplaceFile, FlushesBytesBeforeTheRenameAndTheNameBehindIt) {
    const FlushFollower follower(root.Native(), {});
    Replace("first");
    Replace("second");
    EXPECT_EQ(follower.Faults(), Names());
    EXPECT_EQ(follower.Flushes(), 4);
}

TEST_F(ReplaceFile, ReplacesALinkAndLeavesWhatItLeadsTo) {
    WriteText(Path("elsewhere"), "kept");
    fs::create_symlink(Path("elsewhere"), path);
    Replace("new");
    EXPECT_EQ(ReadText(Path("elsewhere")), "kept");
    EXPECT_FALSE(fs::is_symlink(path));
}

TEST_F(ReplaceFile, RefusesAPrefixThatLeavesTheFolderAndAFolderThatIsNotThere) {
    const CharArray_t bytes("x", 1);
    for (const char* const prefix : {"../x", "a/b"}) {
        EXPECT_THROW(LumPalIo::ReplaceFile(File_t(ToString(path)), prefix, bytes, 0600),
                     LumPalMsg::IllegalArgumentError_t);
    }
    EXPECT_THROW(LumPalIo::ReplaceFile(File_t(root.Path("missing/file")), ".mine", bytes, 0600),
                 LumPalIo::FileNotFoundException_t);
    EXPECT_EQ(Others(), Names());
}

TEST_F(ReplaceFile, AnOperationThatFailsIsToldAndLeavesTheOldFileAndNothingAside) {
    Names failed;
    ForEachFault([&](int nth) {
        Replace("old");
        Faults faults(nth);
        bool told = false;
        try {
            Replace("new");
        } catch (const LumPalIo::IOException_t&) {
            told = true;
        }
        faults.Stop();
        const bool isFolder = faults.Failed() == "fsync " + root.Native();
        EXPECT_EQ(told, faults.Fired()) << faults.Failed();
        EXPECT_EQ(ReadText(path), told && !isFolder ? "old" : "new") << faults.Failed();
        EXPECT_EQ(Others(), Names()) << faults.Failed();
        if (faults.Fired()) failed.push_back(faults.Failed().substr(0, faults.Failed().find(' ')));
        return faults.Fired();
    });
    EXPECT_EQ(failed, Names({"open", "write", "chmod", "fsync", "rename", "fsync"}));
}

TEST_F(ReplaceFile, ACrashAtEachStepLeavesTheOldFileOrTheNewOneAndNothingAfterTheNextCall) {
    int leftAside = 0, crashes = 0;
    for (const bool next : {false, true}) {
        ForEachFault([&](int nth) {
            Replace("old");
            const bool crashed = CrashesAt(nth, true, [&] { Replace("new"); });
            const std::string text = ReadText(path);
            EXPECT_TRUE(text == "new" || (crashed && text == "old")) << nth << ": " << text;
            leftAside += !Others().empty();
            crashes += crashed;
            next ? Replace("next") : Tidy();
            EXPECT_EQ(Others(), Names()) << nth;
            EXPECT_EQ(ReadText(path), next ? "next" : text) << nth;
            return crashed;
        });
    }
    EXPECT_EQ(crashes, 12);
    EXPECT_EQ(leftAside, 8) << "between the making and the rename";
}

TEST_F(ReplaceFile, WhatDoesNotBearExactlyThePatternStays) {
    const Names foreign{".mine",
                        ".mineabcde",
                        ".mineabcdefg",
                        ".mineabc-ef",
                        ".mineabc.ef",
                        "x.mineabcdef",
                        ".mineabcdef~",
                        ".Mineabcdef",
                        "mineabcdef",
                        ".mine\xC3\xA9"
                        "abcd",
                        ".mine\xC3\xA9"
                        "abcde"};
    for (const std::string& name : foreign) WriteText(Path(name), "kept");
    fs::create_directory(Path(".minefolder"));
    fs::create_symlink(Path(".mine"), Path(".minelinked"));
    ASSERT_EQ(mkfifo(Path(".minequeue0").c_str(), 0600), 0);
    WriteText(Path(".mineleft01"), "left");
    WriteText(Path(".mineLEFT02"), "left");
    fs::permissions(Path(".mineLEFT02"), fs::perms::owner_read | fs::perms::owner_write);
    Tidy();
    Replace("new");
    for (const std::string& name : foreign) EXPECT_EQ(ReadText(Path(name)), "kept") << name;
    EXPECT_EQ(Others().size(), foreign.size() + 3);
    EXPECT_FALSE(fs::exists(Path(".mineleft01")));
    EXPECT_FALSE(fs::exists(Path(".mineLEFT02")));
}

TEST_F(ReplaceFile, AFileOfAnotherUserStays) {
    if (geteuid() != 0) return;  // nobody else can be acted for; the rule is then the system's own in shared folders
    WriteText(Path(".minetheirs"), "theirs");
    WriteText(Path(".mineother1"), "theirs");
    ASSERT_EQ(chown(Path(".mineother1").c_str(), 65534, 65534), 0);
    Tidy();
    EXPECT_EQ(Others(), Names({".mineother1"}));
}

TEST_F(ReplaceFile, WhatALivingProcessWritesStaysAndTakesItsPlace) {
    const Line reachedLine, releasedLine;
    reached = &reachedLine;
    released = &releasedLine;
    ForkedProcess writer([&] {
        LumPalIo::SetFaultHookForTest(StopBeforeRename);
        Replace("theirs");
    });
    reachedLine.Hear();
    ASSERT_EQ(Others().size(), 1u);
    Tidy();
    EXPECT_EQ(Others().size(), 1u);
    Replace("ours");
    EXPECT_EQ(Others().size(), 1u);
    releasedLine.Tell();
    EXPECT_EQ(writer.Wait(), 0);
    EXPECT_EQ(ReadText(path), "theirs");
    EXPECT_EQ(Others(), Names());
}

TEST_F(ReplaceFile, WhatAKilledProcessWroteGoes) {
    const Line reachedLine, releasedLine;
    reached = &reachedLine;
    released = &releasedLine;
    {
        ForkedProcess writer([&] {
            LumPalIo::SetFaultHookForTest(StopBeforeRename);
            Replace("theirs");
        });
        reachedLine.Hear();
    }
    ASSERT_EQ(Others().size(), 1u);
    Tidy();
    EXPECT_EQ(Others(), Names());
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(ReplaceFile, ManyProcessesReplaceOneFileAndTidyUpAndNoneTakesAwayWhatAnotherWrites) {
    std::vector<std::unique_ptr<ForkedProcess>> writers;
    for (int i = 0; i < 4; ++i) {
        writers.push_back(std::make_unique<ForkedProcess>([this] {
            for (int n = 0; n < 300; ++n) Replace("whole");
        }));
    }
    for (const auto& writer : writers) {
        while (!writer->HasEnded()) {
            Tidy();
            if (fs::exists(path)) {
                ASSERT_EQ(ReadText(path), "whole");
            }
        }
        EXPECT_EQ(writer->Wait(), 0);
    }
    EXPECT_EQ(Others(), Names());
}

TEST_F(ReplaceFile, AFolderThatIsNotThereIsTidy) {
    LumPalIo::RemoveLeftAside(File_t(root.Path("missing")), ".mine");
    LumPalIo::RemoveLeftAside(File_t(), ".mine");
    LumPalIo::RemoveLeftAside(File_t(String_t(u"a\0b", 3)), "");
}
