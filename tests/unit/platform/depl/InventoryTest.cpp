#include "Inventory.h"

#include <gtest/gtest.h>

#include "LumPalNet.h"
#include "LumVoxRpc.h"
#include "TempRoot.h"
#include "TestPki.h"

using namespace LumDepl;
using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

/// How a client cuts the version out of an inventory: the column of "VERSION" in the first line, the line that
/// begins with the package's name, the text there up to the next blank. Kept: clients of other ages do the same.
String_t ProbeVersion(const String_t& inventory) {
    const std::uint32_t column = inventory.Find("VERSION");
    if (column == NotFound) return String_t();
    const std::uint32_t found = inventory.Find("\nTesselLumConf ", column + 20);
    if (found == NotFound) return String_t();
    const std::uint32_t end = inventory.Find("\n", found + 1);
    const String_t line = inventory.Mid(found + 1, end);
    const std::uint32_t blank = line.Find(" ", column);
    return line.Mid(column, blank);
}

/// A node on loopback that answers for its inventory, with TARGET_PORT leading to it.
struct InventoryNode : testing::Test {
    static LumPalConfig::Configuration_t AnyPort() {
        LumPalConfig::Configuration_t configuration{String_t("vox.http.ext.conf")};
        configuration.SetAttrValue("SERVER_PORT", "0");
        return configuration;
    }
    TempRoot root;
    LumPalConfig::Configuration_t configuration = AnyPort();
    InventoryServer inventory{configuration};
    LumVoxMsg::Messenger messenger{configuration,
                                   LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/")};
    void Serve() {
        inventory.RegisterOn(messenger);
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(messenger.GetPort()));
    }
    ~InventoryNode() override { messenger.Close(); }
};

}  // namespace

TEST(Inventory, GivesItsVersionToWhoReadsTheColumn) {
    EXPECT_EQ(ProbeVersion(InventoryTable("package")), kPackageVersion);
}

TEST(Inventory, TheVersionLiesOutsideTheRangeOfNodesThatNumberSelectionsDifferently) {
    const String_t version(kPackageVersion);
    EXPECT_FALSE(version >= "03.00.010" && version <= "06.00.055");
}

TEST(Inventory, HasItsHeadingsOnTheFirstLine) {
    const String_t table = InventoryTable("package");
    EXPECT_EQ(table.Find("NAME"), 0u);
    EXPECT_LT(table.Find("VERSION"), table.Find("\n"));
    EXPECT_EQ(table.LastChar(), u'\n');
}

TEST(Inventory, ListsNothingButPackages) {
    for (const char* type : {"", "Package", "packages", "policy", "package "}) {
        const String_t table = InventoryTable(type);
        EXPECT_EQ(table.Find("TesselLumConf"), NotFound) << type;
        EXPECT_EQ(table.Find("NAME"), 0u) << type;
        EXPECT_EQ(ProbeVersion(table), "") << type;
    }
}

TEST_F(InventoryNode, IsAnsweredOverTheWireWithoutAnyRight) {
    Serve();
    EXPECT_EQ(Node(" localhost ").GetInventory(NodeOptions().SetObjectType("package")), InventoryTable("package"));
    EXPECT_EQ(Node("localhost").GetInventory(NodeOptions()), InventoryTable(""));
}

TEST_F(InventoryNode, AHostMayBeGivenWithItsPortAndThenSpeaksTls) {
    const TestAuthority authority("authority");
    InstallIdentity("node-1", authority.Issue("node-1", "DNS:localhost,IP:127.0.0.1"));
    InstallTrust("authority", authority.Certificate());
    Serve();
    const std::string host = "127.0.0.1:" + std::to_string(messenger.GetPort());
    const NodeOptions options = NodeOptions().SetObjectType("package");
    EXPECT_EQ(ProbeVersion(Node(String_t::FromUtf8(host)).GetInventory(options)), kPackageVersion);
    EXPECT_EQ(ProbeVersion(Node("localhost").GetInventory(options)), kPackageVersion);
}

TEST_F(InventoryNode, AnyOtherNameThanLocalhostTakesNoPlainRoad) {
    Serve();
    const std::string host = "127.0.0.1:" + std::to_string(messenger.GetPort());
    EXPECT_THROW(Node(String_t::FromUtf8(host)).GetInventory(NodeOptions()), LumPalNet::ConnectException_t);
}

TEST_F(InventoryNode, AnEmptyHostIsRefused) {
    EXPECT_THROW(Node("").GetInventory(NodeOptions()), LumPalMsg::IllegalArgumentError_t);
    EXPECT_THROW(Node(" \t").GetInventory(NodeOptions()), LumPalMsg::IllegalArgumentError_t);
}

TEST_F(InventoryNode, AHostThatIsNotThereCannotBeAsked) {
    Serve();
    messenger.Close();
    EXPECT_THROW(Node("localhost").GetInventory(NodeOptions()), LumPalNet::ConnectException_t);
}
