// What policy work makes of the node's settings, with the worker that merges behind it.
#include <gtest/gtest.h>

#include <thread>

#include "Exceptions.h"
#include "Files.h"
#include "LumPalCfgFile.h"
#include "PolicyNode.h"
#include "SettingsMerge.h"
#include "SettingsPolicies.h"

namespace LumConf {
namespace {

class SettingsOfPolicies : public testing::TestWithParam<bool> {
protected:
    SettingsOfPolicies() {
        Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", GetParam() ? "true" : "false");
        node.Restart();
    }
    void Install(const TestPolicy& policy) {
        node->Install("tester", policy.Array(), InstallOptions().SetForceOwner(true));
    }
    std::string Settings() { return ReadText(node.Root().Native() + "/etc/pal/config/policy_settings.ini"); }
    bool Become(const std::string& text) {
        return Eventually([&] { return Settings() == text; });
    }
    /// What the store comes to.
    static std::string Merged() {
        const LumPalIo::CharArrayOutputStream_t bytes;
        LumPalCfgFile::ConfigWriter_t::Write(bytes, LumConfPar::SettingsMerge().Merge().GetGroup());
        const auto text = bytes.ToCharArray();
        return {text.GetData(), text.GetLength()};
    }
    /// Installs, renames, replaces by name, disables, enables and removes, as a number says: a and b have names of
    /// their own, of the others each takes the place of the one before.
    void Change(unsigned number) {
        const std::string id(1, static_cast<char>('a' + number % 5));
        const std::string name = id > "b" ? "shared" : (number % 7 < 3 ? "name of " : "other name of ") + id;
        const Selection selection = Selection().SetPolicyId(LumPalStr::String_t::FromUtf8(id));
        const PolicyForwarder::Options options;
        switch (number / 5 % 4) {
            case 0:
            case 1:
                return Install(SettingsPolicy(id, name, "[app]\nk=" + std::to_string(number) + "\n" + id + "=1\n"));
            case 2:
                return node->SetStatus("tester", selection, static_cast<int>(number % 2) + 1, options);
            default:
                return node->Remove("tester", selection, options);
        }
    }

    PolicyNode node;
};

TEST_P(SettingsOfPolicies, AChangeOfStatusThatIsToldByItselfChangesTheSettings) {
    Install(SettingsPolicy("a", "a", "[app]\nk=1\n"));
    ASSERT_TRUE(Become("[app]\nk=1\n"));
    const Selection selection = Selection().SetPolicyId("a");
    const auto quietly = PolicyForwarder::Options().SetNotify(false);
    node->SetStatus("conf.cluster", selection, PolicyOperation::Disable, quietly);
    node->NotifyEnableDisable("conf.cluster");
    EXPECT_TRUE(Become(""));
    node->SetStatus("conf.cluster", selection, PolicyOperation::Enable, quietly);
    node->NotifyEnableDisable("conf.cluster");
    EXPECT_TRUE(Become("[app]\nk=1\n"));
}

TEST_P(SettingsOfPolicies, OfAPolicyThatAnotherOneReplacedNothingStaysInForceWhateverBecameOfThatOne) {
    const auto quietly = PolicyForwarder::Options().SetNotify(false);
    for (const bool removed : {false, true}) {
        Install(SettingsPolicy("old", "same", "[app]\nold=1\n"));
        ASSERT_TRUE(Become("[app]\nold=1\n"));
        node.Install(SettingsPolicy("new", "same", "[app]\nnew=1\n"));
        if (removed) {
            node->Remove("tester", Selection().SetPolicyId("new"), quietly);
        } else {
            node.Install(SettingsPolicy("new", "another name", "[app]\nnew=1\n"));
        }
        node->Notify("tester");
        EXPECT_TRUE(Become(removed ? "" : "[app]\nnew=1\n")) << Settings();
        if (!removed) node->Remove("tester", Selection(), PolicyForwarder::Options());
        ASSERT_TRUE(Become(""));
    }
}

TEST_P(SettingsOfPolicies, InTheEndTheyAreWhatTheStoreSaysHoweverFastItChanged) {
    const auto change = [this](unsigned seed) {
        for (unsigned i = 0; i < 40; ++i) {
            seed = seed * 1103515245 + 12345;
            try {
                Change(seed >> 16);
            } catch (const PolicyException&) {
                // Not there, or in that state already.
            }
        }
    };
    std::thread other(change, 1), another(change, 2);
    change(3);
    other.join();
    another.join();
    Install(SettingsPolicy("z", "z", "[app]\nz=1\n"));
    const std::string merged = Merged();
    EXPECT_NE(merged.find("z=1"), std::string::npos);
    EXPECT_TRUE(Become(merged)) << Settings() << "instead of\n" << merged;
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutMemory, SettingsOfPolicies, testing::Bool(),
                         [](const auto& info) { return info.param ? "Cached" : "Rebuilt"; });

}  // namespace
}  // namespace LumConf
