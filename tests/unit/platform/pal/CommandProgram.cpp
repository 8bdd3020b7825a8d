// Whether a command can be started at all, and programs that end with who started them.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Configure.h"
#include "Files.h"
#include "LumPalCmd.h"
#include "TempRoot.h"

namespace {

using LumPalCmd::Command_t;
using LumPalStr::String_t;

void Require(const std::string& line) {
    Command_t(String_t::FromUtf8(line)).RequireProgram();
}

/// The folder alone, as long as it lives.
class SearchedPath {
public:
    explicit SearchedPath(const std::string& folders) : before(getenv("PATH")) { setenv("PATH", folders.c_str(), 1); }
    ~SearchedPath() { setenv("PATH", before.c_str(), 1); }
    SearchedPath(const SearchedPath&) = delete;
    SearchedPath& operator=(const SearchedPath&) = delete;

private:
    const std::string before;
};

}  // namespace

TEST(CommandProgram, WhatCanBeStartedIsThere) {
    for (const char* line : {"/bin/sh -c \"exit 1\"", "sh", "  sh  x", "\"/bin/sh\""}) EXPECT_NO_THROW(Require(line));
    EXPECT_THROW(Command_t("sh", false).RequireProgram(), LumPalIo::FileNotFoundException_t);
}

TEST(CommandProgram, WhatCannotBeStartedIsSaid) {
    const TempRoot root;
    WriteText(root.Native() + "/plain", "text");
    chmod((root.Native() + "/plain").c_str(), 0644);
    for (const std::string& line : {std::string("/no/such/program"), std::string("no-such-program-anywhere")})
        EXPECT_THROW(Require(line), LumPalIo::FileNotFoundException_t) << line;
    for (const std::string& line : {root.Native() + "/plain", root.Native(), "\"" + root.Native() + "/plain\" word"})
        EXPECT_THROW(Require(line), LumPalIo::IOException_t) << line;
    for (const char* line : {"", "  ", "\"open"})
        EXPECT_THROW(Require(line), LumPalMsg::IllegalArgumentError_t) << line;
}

TEST(CommandProgram, EachFolderOfThePathIsSearchedAndWhatMayNotBeStartedHidesNothing) {
    const TempRoot root;
    for (const char* folder : {"/one", "/two"}) WriteText(root.Native() + folder + "/tool", "#!/bin/sh\n");
    chmod((root.Native() + "/one/tool").c_str(), 0644);
    chmod((root.Native() + "/two/tool").c_str(), 0755);
    {
        const SearchedPath path(root.Native() + "/one:" + root.Native() + "/nowhere");
        EXPECT_THROW(Require("tool"), LumPalIo::IOException_t);
    }
    const SearchedPath path(root.Native() + "/one::" + root.Native() + "/two");
    EXPECT_NO_THROW(Require("tool"));
}

TEST(CommandProgram, EndsWhenTheProcessThatStartedItIsKilled) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t starter = fork();
    if (starter == 0) {
        const LumPalCmd::Process_t process = Command_t("sleep 1000").EndWithParent().Execute();
        const long pid = process.GetPid();
        static_cast<void>(!write(ends[1], &pid, sizeof pid));
        pause();
    }
    long pid = 0;
    ASSERT_EQ(read(ends[0], &pid, sizeof pid), static_cast<ssize_t>(sizeof pid));
    // Until it has become the program it would not be asked.
    ASSERT_TRUE(Eventually([&] { return ReadText("/proc/" + std::to_string(pid) + "/comm") == "sleep\n"; }));
    kill(starter, SIGKILL);
    waitpid(starter, nullptr, 0);
    const std::string status = "/proc/" + std::to_string(pid) + "/status";
    const auto isGone = [&] {
        const std::string text = access(status.c_str(), R_OK) == 0 ? ReadText(status) : "";
        return text.empty() || text.find("State:\tZ") != text.npos;
    };
    EXPECT_TRUE(Eventually(isGone));
    for (const int end : ends) close(end);
}

TEST(CommandProgram, RunsAsWithoutWhenNobodyIsKilled) {
    LumPalCmd::Process_t process =
        Command_t("printf %s-%s a \"b c\"").EndWithParent().RedirectOutput(LumPalCmd::Pipe).Execute();
    EXPECT_EQ(process.WaitFor(), 0);
    EXPECT_EQ(Command_t("sh -c \"exit 7\"").EndWithParent().Execute().WaitFor(), 7);
}
