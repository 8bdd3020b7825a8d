#include <gtest/gtest.h>

#include "Faults.h"
#include "ForkedProcess.h"
#include "SettingsFiles.h"
#include "SettingsWriter.h"

namespace {

using LumConfPar::SettingsWriter;
using LumPalConfig::ConfigGroup_t;

constexpr char kOld[] = "[a]\nk=old\n";
constexpr char kNew[] = "[a]\nk=new\n";
constexpr char kNext[] = "[a]\nk=next\n";

void WritePolicies(const char* value) {
    SettingsWriter("", GroupOf({{"a", "k", value}})).WritePolicySettings();
}

/// Every local change that there is, among them those that change nothing.
void ChangeLocally() {
    ConfigGroup_t withoutAttributes;
    withoutAttributes.GetConfig("a");
    for (const ConfigGroup_t& group : {ConfigGroup_t(), withoutAttributes, GroupOf({{"b", "k", "1"}})}) {
        SettingsWriter("", group).WriteLocalSettings();
    }
}

/// @param inForce  the settings before; the crash may have come after the new ones were taken over
void CheckAfterCrash(const SettingsFiles& files, const std::string& inForce) {
    const std::string text = ReadText(files.Policy());
    EXPECT_TRUE(text == inForce || text == kNew) << text;
    ChangeLocally();
    EXPECT_EQ(ReadText(files.Policy()), text) << "a local change took over what a crash left";
    WritePolicies("next");
    EXPECT_EQ(ReadText(files.Policy()), kNext);
    EXPECT_FALSE(files.HasNewPolicy());
    EXPECT_EQ(ReadText(files.Local()), "[b]\nk=1\n");
}

TEST(SettingsCrash, ACrashAtAnyOperationLeavesTheOldPolicySettingsOrTheNewOnes) {
    for (const char* inForce : {kOld, kNew, ""}) {
        for (const bool torn : {false, true}) {
            int crashes = 0;
            ForEachFault([&](int nth) {
                const SettingsFiles files(kFastFolder);
                if (*inForce) WriteText(files.Policy(), inForce);
                const bool crashed = CrashesAt(nth, torn, [] { WritePolicies("new"); });
                SCOPED_TRACE("before operation " + std::to_string(nth) + " over " + inForce);
                CheckAfterCrash(files, inForce);
                crashes += crashed;
                return crashed;
            });
            EXPECT_GE(crashes, 7);
        }
    }
}

TEST(SettingsCrash, HalfASettingsFileThatACrashLeftIsNeverTakenOver) {
    int halves = 0;
    ForEachFault([&](int nth) {
        const SettingsFiles files(kFastFolder);
        WriteText(files.Policy(), kOld);
        const bool crashed = CrashesAt(nth, true, [] { WritePolicies("new"); });
        if (ReadText(files.NewPolicy()) != "[a]\nk=torn") return crashed;
        ++halves;
        ChangeLocally();
        EXPECT_EQ(ReadText(files.Policy()), kOld);
        EXPECT_EQ(ReadText(files.NewPolicy()), "[a]\nk=torn");
        return crashed;
    });
    EXPECT_EQ(halves, 1);
}

}  // namespace
