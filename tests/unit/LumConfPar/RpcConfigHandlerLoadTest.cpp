#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "Faults.h"
#include "RpcConfigHandler.h"
#include "SettingsServer.h"
#include "TraceLines.h"

namespace {

using LumPalConfig::ConfigGroup_t;
using LumPalStr::String_t;
using Sender = NodeClient::Sender;

using RpcConfigHandlerLoad = SettingsServer;

const char* const kTexts[] = {
    "",
    " ",
    "  leading and trailing  ",
    "a\rb",
    "a\nb",
    "a\r\nb\r\n",
    "\ttab\t",
    "a=b=",
    "=",
    "[section]",
    "]",
    "#comment",
    ";comment",
    "back\\slash\\n\\",
    "\\u0041",
    "<&>\"']]>",
    "&amp;&#65;",
    "%1 %2 %",
    "\xC3\xA4\xE2\x82\xAC",
    "\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBD",
    "\x7F\xC2\x80\xC2\x85\xC2\x9F\xC2\xA0",
    "\xE2\x80\xA8\xE2\x80\xA9\xEF\xBB\xBF",
    "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD",
};

TEST_F(RpcConfigHandlerLoad, EveryCharacterOfAValueThatXmlCarriesComesBackAsItWasSet) {
    const ConfigGroup_t group;
    for (std::size_t i = 0; i < std::size(kTexts); ++i) {
        group.GetConfig("test.a").SetAttrValue(LumPalStr::NumToStr(static_cast<int>(i)), String_t::FromUtf8(kTexts[i]));
    }
    LumPalConfig::Configuration_t units = group.GetConfig("test.units");
    for (unsigned unit = 1; unit <= 0xFFFD; ++unit) {
        if ((unit >= 0xD800 && unit <= 0xDFFF) || (unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r'))
            continue;
        const char16_t text[] = {static_cast<char16_t>(unit), u'x', static_cast<char16_t>(unit)};
        units.SetAttrValue(LumPalStr::NumToStr(static_cast<int>(unit)), String_t(text, 3));
    }
    EXPECT_EQ(Client().Config(kSet, group).value, 1);
    EXPECT_EQ(Shown(Client().Config(kGet).group, "test."), Shown(group));
    EXPECT_EQ(Stored(), Shown(group));
}

TEST_F(RpcConfigHandlerLoad, EveryCharacterOfANameThatTheStoreTakesComesBackAsItWasSetAndIsCleared) {
    ConfigGroup_t group;
    for (const char* text : kTexts) {
        const std::string name = text;
        if (name.empty() || name.find_first_of("\t\r\n\x7F") != std::string::npos) continue;
        if (name.find("\xE2\x80\xA8") != std::string::npos) continue;
        group.GetConfig(String_t::FromUtf8("test." + name)).SetAttrValue(String_t::FromUtf8(name), "1");
        group.GetConfig("test.names").SetAttrValue(String_t::FromUtf8(name), "2");
    }
    ASSERT_GE(group.GetConfigCount(), 14);
    EXPECT_EQ(Client().Config(kSet, group).value, 1);
    EXPECT_EQ(Shown(Client().Config(kGet).group, "test."), Shown(group));
    EXPECT_EQ(Client().Config(kClearAttribute, group).value, 1);
    const ConfigGroup_t left = Client().Config(kGet).group;
    for (int i = 0; i < left.GetConfigCount(); ++i) {
        const LumPalConfig::Configuration_t configuration = left.GetConfig(i);
        if (configuration.GetNamespace().ToUtf8().starts_with("test.")) {
            EXPECT_EQ(configuration.GetAttrCount(), 0);
        }
    }
}

TEST_F(RpcConfigHandlerLoad, WhatXmlCannotCarryIsCleanedInTheAnswerToAGet) {
    WriteText(Folder() + "policy_settings.ini", "[test.\\uFFFEn]\na\\uDC00=a\\u0001b\\uD800c\\uFFFFd\\u0000e\n");
    const Reply reply = Client().Config(kGet);
    EXPECT_EQ(reply.value, 1);
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(Shown(reply.group, "test."),
              "[test." + mark + "n]a" + mark + "=a" + mark + "b" + mark + "c" + mark + "d" + mark + "e;");
}

TEST_F(RpcConfigHandlerLoad, AThousandNamespacesAreSetReadAndCleared) {
    const ConfigGroup_t group;
    for (int i = 0; i < 1000; ++i) {
        for (int j = 0; j < 5; ++j) {
            group.GetConfig("test." + LumPalStr::NumToStr(i)).SetAttrValue("N" + LumPalStr::NumToStr(j), "value");
        }
    }
    EXPECT_EQ(Client().Config(kSet, group).value, 1);
    EXPECT_EQ(Shown(Client().Config(kGet).group, "test."), Shown(group));
    EXPECT_EQ(Client().Config(kClearNamespace, group).value, 1);
    EXPECT_EQ(Stored(), "");
    EXPECT_EQ(AuditedLines(), 3);
}

TEST_F(RpcConfigHandlerLoad, ALargeValueWithinTheLimitsComesBackWhole) {
    const ConfigGroup_t group;
    group.GetConfig("test.a").SetAttrValue("X", String_t::FromUtf8(std::string(8 << 20, 'x')));
    EXPECT_EQ(Client().Config(kSet, group).value, 1);
    EXPECT_EQ(Client().Config(kGet).group.GetConfig("test.a").GetValue("X").GetLength(), 8u << 20);
}

TEST_F(RpcConfigHandlerLoad, TwoThatSetAtOnceLoseNothing) {
    constexpr int kTimes = 16;
    std::vector<std::thread> setters;
    for (const char* nameSpace : {"test.one", "test.two"}) {
        setters.emplace_back([this, nameSpace] {
            NodeClient client(server.GetPort());
            for (int i = 0; i < kTimes; ++i) {
                const std::string name = "N" + std::to_string(i);
                EXPECT_EQ(
                    client.Config(kSet, GroupOf({{nameSpace, name.c_str(), "v"}, {"test.both", name.c_str()}})).value,
                    1);
                if (i % 2 == 0) continue;
                EXPECT_EQ(client.Config(kClearAttribute, GroupOf({{nameSpace, name.c_str()}})).value, 1);
            }
        });
    }
    for (std::thread& setter : setters) setter.join();
    const ConfigGroup_t all = Client().Config(kGet).group;
    EXPECT_EQ(all.GetConfig("test.one").GetAttrCount(), kTimes / 2);
    EXPECT_EQ(all.GetConfig("test.two").GetAttrCount(), kTimes / 2);
    EXPECT_EQ(all.GetConfig("test.both").GetAttrCount(), kTimes);
}

TEST_F(RpcConfigHandlerLoad, ThoseWhoFollowANamespaceAreToldOfASet) {
    struct Follower : LumPalConfig::ConfigChangeHandler_i {
        void Update(const LumPalConfig::ChangedConfiguration_t& changes,
                    const LumPalConfig::Configuration_t& now) override {
            if (changes.HasChanged("X") && now.GetValue("X") == "1") told = true;
        }
        std::atomic<bool> told{false};
    } follower;
    const LumPalConfig::ConfigNamespace_t nameSpace("test.a");
    nameSpace.Register(follower);
    EXPECT_EQ(Client().Config(kSet, GroupOf({{"test.a", "X", "1"}})).value, 1);
    EXPECT_TRUE(Eventually([&] { return follower.told.load(); }));
    nameSpace.Unregister(follower);
}

TEST_F(RpcConfigHandlerLoad, AHundredThousandAttributesAreSetReadAndCleared) {
    constexpr int kMany = 100000;
    const ConfigGroup_t group;
    LumPalConfig::Configuration_t configuration = group.GetConfig("test.a");
    for (int i = 0; i < kMany; ++i) configuration.SetAttrValue("N" + LumPalStr::NumToStr(i), "v");
    EXPECT_EQ(Client().Config(kSet, group).value, 1);
    EXPECT_EQ(Client().Config(kGet).group.GetConfig("test.a").GetAttrCount(), kMany);
    EXPECT_EQ(Client().Config(kClearAttribute, group).value, 1);
    EXPECT_EQ(LumPalConfig::ConfigNamespace_t("test.a").Open().GetAttrCount(), 0);
}

TEST_F(RpcConfigHandlerLoad, ARequestOfMoreNamespacesThanAreReadIsRefusedWhoeverSendsIt) {
    std::string elements =
        "<PolicyOperationMode>18</PolicyOperationMode><ConfigPackageName/><ConfigGroupName><ns>test.a</ns>";
    for (int i = 0; i < LumConf::ConfigGroupSoapArg::kMostOfARequest; ++i) {
        elements += "<ns>" + std::to_string(i) + "</ns>";
    }
    elements += "</ConfigGroupName>";
    for (const Sender sender : {Sender::Nobody, Sender::Administrator}) {
        EXPECT_EQ(Client().PostCall("configOp", elements, sender).value, 8);
    }
    EXPECT_TRUE(log.Holds("too many namespaces"));
    EXPECT_EQ(Stored(), "");
}

TEST_F(RpcConfigHandlerLoad, NamesOfAMegabyteAreStoredAsTheyAre) {
    const std::string name = "test." + std::string(1 << 20, 'x');
    const ConfigGroup_t group = GroupOf({{name.c_str(), name.c_str(), "1"}});
    EXPECT_EQ(Client().Config(kSet, group).value, 1);
    EXPECT_TRUE(Shown(Client().Config(kGet).group, "test.") == Shown(group));
    EXPECT_EQ(Client().Config(kClearNamespace, group).value, 1);
    EXPECT_EQ(Stored(), "");
}

TEST_F(RpcConfigHandlerLoad, ABadNameOfAMegabyteIsShownShortened) {
    const std::string name = "test.\n" + std::string(1 << 20, 'x');
    const auto expectShort = [&](const Reply& reply) {
        EXPECT_EQ(reply.value, 7);
        EXPECT_NE(reply.text.find("'test.\n"), std::string::npos);
        EXPECT_NE(reply.text.find("xxx...' cannot be"), std::string::npos);
        EXPECT_LT(reply.text.size(), 1000u);
    };
    for (const int mode : {kSet, kClearNamespace, kClearAttribute}) {
        expectShort(Client().Config(mode, GroupOf({{name.c_str(), "X", "1"}})));
        if (mode != kClearNamespace) expectShort(Client().Config(mode, GroupOf({{"test.a", name.c_str(), "1"}})));
        expectShort(Client().Config(mode, GroupOf({{"test.a", "X", "1"}}), name.c_str()));
    }
    EXPECT_LT(log.Text().size(), 10000u);
}

struct FailingRow {
    int mode;
    const char* operation;
    const char* file;
    const char* audited;
};

const FailingRow kFailing[] = {
    {kSet, "open", "local_settings.ini.tmp", "CONFIG: Configuration set operation failed."},
    {kSet, "write", "local_settings.ini.tmp", "CONFIG: Configuration set operation failed."},
    {kSet, "fsync", "local_settings.ini.tmp", "CONFIG: Configuration set operation failed."},
    {kSet, "rename", "local_settings.ini.tmp", "CONFIG: Configuration set operation failed."},
    {kSet, "read", "local_settings.ini", "CONFIG: Configuration set operation failed."},
    {kClearNamespace, "write", "local_settings.ini.tmp", "CONFIG: Configuration get operation failed."},
    {kClearAttribute, "write", "local_settings.ini.tmp", "CONFIG: Configuration get operation failed."},
    {kGet, "read", "local_settings.ini", "CONFIG: Configuration get operation failed."},
};

// In a package: nobody reads its files beside the calls.
TEST_F(RpcConfigHandlerLoad, ADiskThatFailsLeavesTheOldSettingsAndIsAnsweredLoggedAndAudited) {
    const std::string local = Folder("rg1") + "local_settings.ini", before = "[test.a]\nX=1\n\n[test.b]\nX=1\n";
    WriteText(local, before);
    int lines = 0;
    for (const FailingRow& row : kFailing) {
        SCOPED_TRACE(std::to_string(row.mode) + " " + row.operation);
        Reply reply;
        {
            const FailingFile failing(row.operation, std::string("rg1/") + row.file);
            reply = Client().Config(row.mode, GroupOf({{"test.a", "X", "2"}}), "rg1");
        }
        EXPECT_EQ(reply.value, 7);
        EXPECT_TRUE(reply.text.starts_with(std::string(kFailed) + "\n  ")) << reply.text;
        EXPECT_NE(reply.text.find("'" + local), std::string::npos) << reply.text;
        EXPECT_TRUE(reply.hasGroup);
        EXPECT_EQ(reply.group.GetConfigCount(), 0);
        EXPECT_EQ(ReadText(local), before);
        EXPECT_FALSE(std::filesystem::exists(local + ".tmp"));
        EXPECT_EQ(AuditedLines(), ++lines);
        EXPECT_GE(node.Audited(row.audited), 1);
        EXPECT_TRUE(log.Holds(reply.text.substr(reply.text.find("\n  ") + 3)));
    }
    EXPECT_EQ(Client().Config(kSet, GroupOf({{"test.a", "X", "2"}}), "rg1").value, 1);
    EXPECT_EQ(Stored("rg1"), "[test.a]X=2;[test.b]X=1;");
}

/// What one of many senders does: its own namespace comes and goes, and the one of all is whole whenever it is read.
void SetGetAndClear(NodeClient& client, int number) {
    const std::string own = "test." + std::to_string(number), value = "v" + std::to_string(number);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(client
                      .Config(kSet, GroupOf({{own.c_str(), "X", value.c_str()},
                                             {"test.all", "FIRST", value.c_str()},
                                             {"test.all", "LAST", value.c_str()}}))
                      .value,
                  1);
        const Reply read = client.Config(kGet);
        EXPECT_EQ(read.value, 1);
        EXPECT_EQ(read.group.GetConfig(String_t::FromUtf8(own)).GetValue("X"), String_t::FromUtf8(value));
        const LumPalConfig::Configuration_t all = read.group.GetConfig("test.all");
        EXPECT_NE(all.GetValue("FIRST"), "");
        EXPECT_EQ(all.GetValue("FIRST"), all.GetValue("LAST"));
        EXPECT_EQ(client.Config(kClearNamespace, GroupOf({{own.c_str()}})).value, 1);
    }
}

TEST_F(RpcConfigHandlerLoad, EightThatSetGetAndClearAtOnceSeeWholeSettings) {
    std::vector<std::thread> senders;
    for (int number = 0; number < 8; ++number) {
        senders.emplace_back([this, number] {
            NodeClient client(server.GetPort());
            SetGetAndClear(client, number);
        });
    }
    for (std::thread& sender : senders) sender.join();
    const ConfigGroup_t left = Client().Config(kGet).group;
    EXPECT_EQ(left.GetConfig("test.all").GetAttrCount(), 2);
    for (int number = 0; number < 8; ++number) EXPECT_FALSE(left.HasConfig("test." + LumPalStr::NumToStr(number)));
}

TEST_F(RpcConfigHandlerLoad, AHandlerOutlivesItsCallsHoweverLongTheyTake) {
    const TraceLines traced;
    std::atomic<bool> ended{false};
    auto handler = std::make_unique<LumConfPar::RpcConfigHandler>();
    handler->CallStarted();
    std::thread call([&, raw = handler.get()] {
        EXPECT_TRUE(Eventually([&] { return traced.Contains("a handler waits until its calls have ended"); }));
        ended = true;
        raw->CallFinished();
    });
    handler.reset();
    EXPECT_TRUE(ended);
    call.join();
}

}  // namespace
