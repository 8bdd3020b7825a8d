// Whatever file operation fails during a merge: the settings are the old ones or the new ones, and the next change
// mends.
#include <gtest/gtest.h>

#include <set>

#include "Faults.h"
#include "PolicySettings.h"
#include "SettingsPolicies.h"

namespace {

using LumConfPar::PolicySettings;
/// A change, and what it may leave when a data file that it reads is left out.
struct Operation {
    std::function<void(PolicySettings&)> run;
    std::set<std::string> withoutAFile;
};

constexpr char kBefore[] = "[a]\non=1\n\n[b]\non=old\n";
constexpr char kWithoutA[] = "[b]\non=new\n";
constexpr char kWithoutB[] = "[a]\non=1\n";
constexpr char kAfter[] = "[a]\non=1\n\n[b]\non=new\n";

/// Lets the nth file operation of a change fail. @return whether there was one
bool FailsAtMostOnce(int nth, FaultMode mode, const Operation& change) {
    const SettingsStore store(kFastFolder);
    store.Put("a", "a", "[a]\non=1\n");
    store.Put("b", "b", "[b]\non=old\n");
    PolicySettings settings;
    settings.Start();
    EXPECT_EQ(store.Settings(), kBefore);
    store.Put("b", "b", "[b]\non=new\n");

    Faults faults(nth, mode);
    try {
        change.run(settings);
    } catch (const LumPalMsg::RuntimeException_t&) {
        // Told; what counts is what is left.
    }
    faults.Stop();
    const std::string left = store.Settings();
    EXPECT_TRUE(left == kBefore || left == kAfter || change.withoutAFile.count(left))
        << nth << ": " << faults.Failed() << left;
    if (faults.Fired()) {
        change.run(settings);
        EXPECT_EQ(store.Settings(), kAfter) << nth << ": " << faults.Failed();
        EXPECT_FALSE(store.Files().HasNewPolicy()) << nth << ": " << faults.Failed();
    }
    return faults.Fired();
}

void TryEachFault(const Operation& change) {
    for (const FaultMode mode : {FaultMode::Once, FaultMode::FromThenOn, FaultMode::DiskFull}) {
        int faults = 0;
        ForEachFault([&](int nth) {
            const bool fired = FailsAtMostOnce(nth, mode, change);
            faults += fired;
            return fired;
        });
        EXPECT_GT(faults, 0);
    }
}

TEST(PolicySettingsFault, AnInstallLeavesTheOldOrTheNewSettings) {
    TryEachFault({[](PolicySettings& settings) { settings.Install("b"); }, {kWithoutB}});
}

TEST(PolicySettingsFault, ARebuildLeavesTheOldOrTheNewSettings) {
    const auto rebuild = [](PolicySettings& settings) {
        settings = PolicySettings();
        settings.Start();
    };
    TryEachFault({rebuild, {kWithoutA, kWithoutB}});
}

}  // namespace
