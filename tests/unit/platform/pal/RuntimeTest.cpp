#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "SystemError.h"
#include "TempRoot.h"

using LumPalMsg::IllegalArgumentError_t;
using LumPalRuntime::App_t;
using LumPalRuntime::Dir_t;
using LumPalStr::String_t;

namespace {

struct KindRow {
    int kind;
    const char* path;
};

/// Puts the environment's root back at the end.
class RootScope {
public:
    ~RootScope() {
        unsetenv("LUM_ROOT");
        Dir_t::SetRoot(String_t::Null());
    }
};

}  // namespace

TEST(Dir, EveryKindHasItsPlaceBelowTheRoot) {
    const RootScope scope;
    const KindRow rows[] = {{3, "/node/"},      {7, "/node/etc/"},       {9, "/node/spool/"},
                            {11, "/node/log/"}, {13, "/node/policies/"}, {14, "/node/tmp/"}};
    for (const char* root : {"/node", "/node/"}) {
        Dir_t::SetRoot(root);
        for (const auto& row : rows) EXPECT_EQ(Dir_t::Path(row.kind), row.path);
    }
}

TEST(Dir, ASubPathIsAppendedWithOneSeparatorAtTheEnd) {
    const RootScope scope;
    Dir_t::SetRoot("/node");
    EXPECT_EQ(Dir_t::Path(7, "pal/config"), "/node/etc/pal/config/");
    EXPECT_EQ(Dir_t::Path(7, "pal/"), "/node/etc/pal/");
    EXPECT_EQ(Dir_t::Path(7, ""), "/node/etc/");
    EXPECT_EQ(Dir_t::Path(7, String_t::Null()), "/node/etc/");
    EXPECT_EQ(Dir_t::Path(3, "x"), "/node/x/");
}

TEST(Dir, UnknownKindsAreRefused) {
    for (const int kind : {-1, 0, 1, 4, 15, 1000}) EXPECT_THROW(Dir_t::Path(kind), IllegalArgumentError_t) << kind;
}

TEST(Dir, WithoutASetRootTheEnvironmentDecidesElseTheUsualPlace) {
    const RootScope scope;
    ASSERT_EQ(setenv("LUM_ROOT", "/from/environment\xC3\xA9", 1), 0);
    Dir_t::SetRoot(String_t::Null());
    EXPECT_EQ(Dir_t::Path(3), u"/from/environment\u00E9/");
    ASSERT_EQ(setenv("LUM_ROOT", "", 1), 0);
    Dir_t::SetRoot("");
    EXPECT_EQ(Dir_t::Path(3), "/var/opt/lum/");
    ASSERT_EQ(unsetenv("LUM_ROOT"), 0);
    Dir_t::SetRoot(String_t::Null());
    EXPECT_EQ(Dir_t::Path(3), "/var/opt/lum/");
}

TEST(Dir, TheTestRootIsFreshAndGoesAwayWithAllThatIsBelow) {
    std::string path;
    {
        const TempRoot root;
        path = root.Native();
        EXPECT_TRUE(std::filesystem::is_empty(path));
        EXPECT_EQ(Dir_t::Path(3), root.Path() + "/");
        ASSERT_TRUE(LumPalIo::File_t(root.Path("locked/inside")).Mkdirs());
        ASSERT_TRUE(LumPalIo::File_t(root.Path("locked")).SetMode(0));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Dir, NothingIsMade) {
    const TempRoot root;
    Dir_t::Path(13, "sub");
    EXPECT_TRUE(std::filesystem::is_empty(root.Native()));
}

TEST(App, KnowsItsNameAndArguments) {
    const char* arguments[] = {"/usr/sbin/lumconfd", "--root", "\xC3\xA9"};
    App_t::Init(3, arguments);
    EXPECT_EQ(App_t::GetName(), "lumconfd");
    EXPECT_EQ(App_t::GetArgCount(), 3);
    EXPECT_EQ(App_t::GetArg(0), "/usr/sbin/lumconfd");
    EXPECT_EQ(App_t::GetArg(2), u"\u00E9");
    for (const int index : {-1, 3, 1000}) EXPECT_THROW(App_t::GetArg(index), IllegalArgumentError_t) << index;
    App_t::Init(0, nullptr);
}

TEST(App, AProgramThatSaysNothingHasTheCommonNameAndNoArguments) {
    App_t::Init(0, nullptr);
    EXPECT_EQ(App_t::GetName(), "lum");
    EXPECT_EQ(App_t::GetArgCount(), 0);
    EXPECT_THROW(App_t::GetArg(0), IllegalArgumentError_t);
}

TEST(SystemError, WhatIsNotThereIsNotFoundAndAllElseIsAnInputOutputError) {
    for (const int error : {ENOENT, ENOTDIR}) {
        EXPECT_THROW(LumPalIo::ThrowSystemError("Cannot open file", "/x", error), LumPalIo::FileNotFoundException_t);
    }
    for (const int error : {EACCES, EISDIR, ENOSPC, ELOOP, EIO, 0, 99999, -1}) {
        try {
            LumPalIo::ThrowSystemError("Cannot open file", "/x", error);
        } catch (const LumPalIo::FileNotFoundException_t&) {
            ADD_FAILURE() << error;
        } catch (const LumPalIo::IOException_t& e) {
            EXPECT_TRUE(std::string(e.what()).starts_with("Cannot open file '/x': ")) << e.what();
            EXPECT_GT(std::string(e.what()).size(), std::string("Cannot open file '/x': ").size());
        }
    }
}

TEST(SystemError, ThePathMayBeLeftOut) {
    for (const String_t& path : {String_t(), String_t::Null()}) {
        EXPECT_EQ(LumPalIo::SystemErrorMessage("Cannot do it", path, EACCES).GetMessageText(),
                  "Cannot do it: Permission denied");
    }
    EXPECT_EQ(LumPalIo::SystemErrorMessage("Cannot open file", u"/\u00E9", ENOENT).GetMessageText(),
              u"Cannot open file '/\u00E9': No such file or directory");
}

TEST(Environment, AVariableIsReadWhenItIsAskedForAndEmptyWhenItIsNotSet) {
    using LumPalRuntime::Environment_t;
    unsetenv("LUM_TRIED");
    EXPECT_EQ(Environment_t::Get("LUM_TRIED"), "");
    EXPECT_FALSE(Environment_t::Get("LUM_TRIED").IsNull());
    setenv("LUM_TRIED", "/usr/bin/sud\u00f6 -n", 1);
    EXPECT_EQ(Environment_t::Get("LUM_TRIED"), u"/usr/bin/sud\u00F6 -n");
    setenv("LUM_TRIED", "", 1);
    EXPECT_EQ(Environment_t::Get("LUM_TRIED"), "");
    unsetenv("LUM_TRIED");
}
