// Settings that were changed are on the disk when the change is done.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Faults.h"
#include "Files.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "SettingsFiles.h"

using LumPalConfig::ConfigUpdate_t;
using LumPalConfig::Configuration_t;
using LumPalIo::IOException_t;
using LumPalStr::String_t;

namespace {

void Set(const char* package, const char* value) {
    Configuration_t config{String_t("a")};
    config.SetAttrValue("k", value);
    ConfigUpdate_t update(package);
    update.SetConfig(config);
    update.Apply();
}

void Clear(const char* nameSpace) {
    ConfigUpdate_t update("");
    update.ClearNamespace(nameSpace);
    update.Apply();
}

struct Change {
    const char* says;
    std::function<void()> make;
    int flushes;  ///< that it needs at least
};

const Change kChanges[] = {
    {"a value is set", [] { Set("", "new"); }, 2},
    {"a value of a package is set", [] { Set("package", "new"); }, 2},
    {"a value is set that is set already", [] { Set("", "old"); }, 2},
    {"a namespace is cleared", [] { Clear("a"); }, 2},
    {"a namespace that is not there is cleared", [] { Clear("absent"); }, 2},
    {"settings of policies are taken over", [] { ConfigUpdate_t("").Apply(); }, 2},
};

void Prepare(const SettingsFiles& files) {
    WriteText(files.Local(), "[a]\nk=old\n");
    WriteText(files.Policy(), "[b]\nk=old\n");
    WriteText(files.NewPolicy(), "[b]\nk=new\n");
}

bool Fails(const std::function<void()>& change) {
    try {
        change();
        return false;
    } catch (const IOException_t&) {
        return true;
    }
}

}  // namespace

TEST(ConfigDurable, AFlushThatFailsIsAFailureOfTheChange) {
    for (const Change& change : kChanges) {
        SCOPED_TRACE(change.says);
        int flushes = 0;
        ForEachFault([&](int nth) {
            const SettingsFiles files(kFastFolder);
            Prepare(files);
            Faults faults(nth);
            const bool failed = Fails(change.make);
            faults.Stop();
            if (!faults.Failed().starts_with("fsync ")) return faults.Fired();
            ++flushes;
            EXPECT_TRUE(failed) << faults.Failed();
            return true;
        });
        EXPECT_GE(flushes, change.flushes);
    }
}

TEST(ConfigDurable, AChangeThatIsMadeAlreadySucceedsOnlyWhenItIsOnTheDisk) {
    for (const Change& change : kChanges) {
        SCOPED_TRACE(change.says);
        const SettingsFiles files;
        Prepare(files);
        {
            const FailingFile folder("fsync", "/config");
            const bool isPackage = std::string(change.says).find("package") != std::string::npos;
            // The name of a package's new folder has to be on the disk too.
            const bool fails = !isPackage || !std::filesystem::exists(files.Root() + "/etc/pal/config/package");
            EXPECT_EQ(Fails(change.make), fails);
            EXPECT_EQ(Fails(change.make), fails) << "it stands already, but maybe not on the disk";
        }
        const FailingFile package("fsync", "/config/package");
        EXPECT_EQ(Fails(change.make), std::string(change.says).find("package") != std::string::npos);
        EXPECT_EQ(Fails(change.make), std::string(change.says).find("package") != std::string::npos);
    }
}

TEST(ConfigDurable, TheFileIsFlushedBeforeItTakesItsPlace) {
    const SettingsFiles files;
    Prepare(files);
    {
        const FailingFile aside("fsync", "local_settings.ini.tmp");
        EXPECT_TRUE(Fails([] { Set("", "new"); }));
        EXPECT_EQ(ReadText(files.Local()), "[a]\nk=old\n");
    }
    const FailingFile next("fsync", "new_policy_settings.ini");
    EXPECT_TRUE(Fails([] { ConfigUpdate_t("").Apply(); }));
    EXPECT_EQ(ReadText(files.Policy()), "[b]\nk=old\n");
    EXPECT_TRUE(files.HasNewPolicy());
}
