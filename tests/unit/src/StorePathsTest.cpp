#include "StorePaths.h"

#include <gtest/gtest.h>

#include "TempRoot.h"

namespace {

using namespace LumConf;
using LumPalStr::String_t;

TEST(StorePaths, EveryDirectoryEndsInASeparatorButTheTemporaryOne) {
    TempRoot root;
    EXPECT_EQ(paths::PolicyInstallDirectory().ToString(), root.Path("policies/"));
    EXPECT_EQ(paths::BaseDirectory().ToString(), root.Path("conf/conf/"));
    EXPECT_EQ(paths::TemporaryDirectory().ToString(), root.Path("tmp/conf_tmp"));
    EXPECT_EQ(paths::IncomingDirectory().ToString(), root.Path("spool/incoming/files/conf_tmp/"));
    EXPECT_EQ(paths::SettingsDirectory().ToString(), root.Path("etc/pal/config/"));
    EXPECT_EQ(paths::AuditLogDirectory(), root.Path("log/"));
}

TEST(StorePaths, FilesStandInTheirDirectories) {
    TempRoot root;
    EXPECT_EQ(paths::SettingsFile().GetAbsolutePath(), root.Path("etc/pal/config/policy_settings.ini"));
    EXPECT_EQ(paths::NewSettingsFile().GetAbsolutePath(), root.Path("etc/pal/config/new_policy_settings.ini"));
    EXPECT_EQ(paths::ApplicationListFile().GetAbsolutePath(), root.Path("conf/conf/apminfo.xml"));
    EXPECT_EQ(paths::ApplicationFile("shop").GetAbsolutePath(), root.Path("bin/instrumentation/conf/shop.apm.xml"));
    EXPECT_EQ(paths::OtherApplicationFile("shop").GetAbsolutePath(), root.Path("bin/instrumentation/shop.apm.xml"));
}

TEST(StorePaths, NothingIsCreated) {
    TempRoot root;
    EXPECT_FALSE(paths::PolicyInstallDirectory().Exists());
    EXPECT_FALSE(paths::IncomingDirectory().Exists());
}

}  // namespace
