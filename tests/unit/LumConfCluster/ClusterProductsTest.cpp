#include "ClusterProducts.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "LumPalRegistry.h"
#include "Raised.h"
#include "RegisteredProducts.h"

namespace {

using namespace LumConfCluster;
using LumPalRegistry::Error_t;
using LumPalStr::String_t;

struct Row {
    const char *name, *daemon, *suffix;
};

constexpr Row kRows[]{
    {"VERITAS Cluster Server (VCS)", "/opt/VRTSvcs/bin/had", ".RGState.VCS"},
    {"Sun Cluster (SC)", "/usr/cluster/lib/sc/clexecd", ".RGState.SC"},
    {"Palisade (PLSD)", "/usr/lbin/plsd", ".RGState.PLSD"},
    {"AIX Cluster (HACMP)", "/usr/es/sbin/cluster/clstrmgr", ".RGState.HACMP"},
    {"Kestrel Cluster (KCR)", "/usr/sbin/kesd", ""},
    {"Red Hat Advanced Server (RHAS)", "/sbin/clusvcmgrd", ".RGState.RHAS"},
    {"Microsoft Cluster Server (MSCS)", "", ".RGState.MSCS"},
    {"Unknown", "", ""},
    {"Pacemaker (PCMK)", "/usr/sbin/pacemakerd", ".RGState.PCMK"},
};

TEST(ClusterProducts, HaveTheirNamesFilesAndSuffixes) {
    ASSERT_EQ(kClusterProducts.size(), std::size(kRows));
    for (int value = 0; value < static_cast<int>(std::size(kRows)); ++value) {
        const auto type = static_cast<ClusterType>(value);
        EXPECT_STREQ(DisplayText(type), kRows[value].name);
        EXPECT_STREQ(DaemonFile(type), kRows[value].daemon);
        EXPECT_STREQ(kClusterProducts[value].stateSuffix, kRows[value].suffix);
        EXPECT_EQ(kClusterProducts[value].type, type);
    }
    EXPECT_STREQ(DisplayText(static_cast<ClusterType>(std::size(kRows))), "Unknown");
    EXPECT_STREQ(DaemonFile(static_cast<ClusterType>(-1)), "");
}

ClusterType Installed(const std::set<std::string>& files) {
    return FirstInstalled([&](const char* file) { return files.contains(file); });
}

TEST(ClusterProducts, TheFirstDaemonFileThatIsThereDecides) {
    EXPECT_EQ(Installed({}), ClusterType::Unknown);
    std::set<std::string> files;
    for (int value = 5; value >= 0; --value) {
        EXPECT_EQ(Installed({kRows[value].daemon}), static_cast<ClusterType>(value));
        files.insert(kRows[value].daemon);
        EXPECT_EQ(Installed(files), static_cast<ClusterType>(value)) << "before those that come later in the table";
    }
    EXPECT_EQ(FirstInstalled([](const char*) { return true; }), ClusterType::Vcs);
    EXPECT_EQ(Installed({"/usr/sbin/pacemakerd"}), ClusterType::Unknown) << "the package alone makes no node";
    EXPECT_EQ(Installed({"/var/lib/pacemaker/cib/cib.xml"}), ClusterType::Unknown);
    const std::set<std::string> both{"/usr/sbin/pacemakerd", "/var/lib/pacemaker/cib/cib.xml"};
    EXPECT_EQ(Installed(both), ClusterType::Pcmk);
    files.insert(both.begin(), both.end());
    EXPECT_EQ(Installed(files), ClusterType::Vcs) << "behind all others";
    EXPECT_EQ(Installed({"/usr/sbin/pacemakerd", "/var/lib/pacemaker/cib/cib.xml", kRows[5].daemon}),
              ClusterType::Rhas);
    EXPECT_EQ(Installed({""}), ClusterType::Unknown) << "no file marks some products";
}

TEST(ClusterProducts, AConfiguredNameMayContradictAndNeverDecides) {
    for (int found = 0; found < 9; ++found) {
        const auto type = static_cast<ClusterType>(found);
        for (int named = 0; named < 9; ++named) {
            if (named == static_cast<int>(ClusterType::Unknown)) continue;
            const ClusterType agreed = Agreed(kRows[named].name, type);
            EXPECT_EQ(agreed, named == found ? type : ClusterType::Unknown) << named << " with " << found;
        }
        for (const char* text : {"", "Unknown", "vcs", "VERITAS", "veritas cluster server (vcs)", "Sun Cluster",
                                 " Sun Cluster (SC)", "Sun Cluster (SC) "}) {
            EXPECT_EQ(Agreed(text, type), type) << text;
        }
    }
}

/// A registry with one key, counting its handles; the n-th call fails.
class FakeRegistry : public LumPalRegistry::Registry_i {
public:
    std::unique_ptr<LumPalRegistry::Key_i> Open(const char* path, Error_t& error) override {
        EXPECT_STREQ(path, "SOFTWARE\\VERITAS\\VCS\\Base");
        error = Next(hasKey ? 0u : 2u);
        if (error != 0) return nullptr;
        ++opened;
        return std::make_unique<Key>(*this);
    }

    bool hasKey = true;
    std::string home{"C:\\Program Files\\VERITAS", 25};
    Error_t sizeError = 0;
    int failAt = 0, calls = 0, opened = 0, closed = 0;

private:
    class Key : public LumPalRegistry::Key_i {
    public:
        explicit Key(FakeRegistry& owner) : owner(owner) {}
        ~Key() override { ++owner.closed; }
        Error_t Query(const char* name, char* bytes, std::size_t& size) override {
            EXPECT_STREQ(name, "HomeDirectory");
            const Error_t error = owner.Next(bytes ? 0 : owner.sizeError);
            if (error == 0 && bytes && size < owner.home.size()) return 234;
            if (error == 0 && bytes) owner.home.copy(bytes, size);
            size = owner.home.size();
            return error;
        }

    private:
        FakeRegistry& owner;
    };
    Error_t Next(Error_t usual) { return ++calls == failAt ? 5 : usual; }
};

TEST(RegisteredProducts, TheVeritasKeyDecidesUnlessTheConfiguredProductContradicts) {
    struct Case {
        const char* configured;
        bool hasKey;
        ClusterType expected;
    };
    for (const Case& row :
         {Case{"", true, ClusterType::Vcs}, Case{"", false, ClusterType::Mscs},
          Case{"VERITAS Cluster Server (VCS)", true, ClusterType::Vcs},
          Case{"VERITAS Cluster Server (VCS)", false, ClusterType::Unknown},
          Case{"Microsoft Cluster Server (MSCS)", false, ClusterType::Mscs},
          Case{"Microsoft Cluster Server (MSCS)", true, ClusterType::Unknown},
          Case{"Sun Cluster (SC)", true, ClusterType::Vcs}, Case{"Sun Cluster (SC)", false, ClusterType::Mscs},
          Case{"veritas cluster server (vcs)", false, ClusterType::Mscs}, Case{"Unknown", true, ClusterType::Vcs}}) {
        FakeRegistry registry;
        registry.hasKey = row.hasKey;
        EXPECT_EQ(FindRegistered(row.configured, registry), row.expected) << row.configured << row.hasKey;
        EXPECT_EQ(registry.opened, registry.closed);
    }
}

TEST(RegisteredProducts, TheHomeOfVeritasEndsAtItsNul) {
    FakeRegistry registry;
    EXPECT_EQ(VcsHome(registry), "C:\\Program Files\\VERITAS");
    registry.sizeError = LumPalRegistry::MoreData;
    EXPECT_EQ(VcsHome(registry), "C:\\Program Files\\VERITAS");
    registry.sizeError = 0;
    registry.home = "D:\\unterminated";
    EXPECT_EQ(VcsHome(registry), "D:\\unterminated");
    registry.home = "";
    EXPECT_EQ(VcsHome(registry), "");
    EXPECT_EQ(registry.opened, 4);
    EXPECT_EQ(registry.closed, 4);
}

TEST(RegisteredProducts, EachFailureHasItsMessageWithTheSystemsNumber) {
    const char* const texts[] = {"Error Opening registry entry for VCS\\Base. Windows error '5'",
                                 "VCS\\Base\\HomeDirectory NOT exists. Windows error '5'",
                                 "Registry VCS\\Base\\HomeDirectory value read error. Windows error '5'"};
    for (int failing = 1; failing <= 3; ++failing) {
        FakeRegistry registry;
        registry.failAt = failing;
        const auto messages = MessagesOf<LumPalMsg::RuntimeException_t>([&] { VcsHome(registry); });
        EXPECT_EQ(String_t(messages).ToUtf8(), texts[failing - 1]);
        EXPECT_EQ(messages.GetMessage(0).GetId(), 0u);
        EXPECT_EQ(registry.opened, registry.closed);
    }
}

}  // namespace
