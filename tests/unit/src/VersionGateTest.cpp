// Which number of a selection's kind reaches nodes of which version. Real transport: each node is a server of policies
// and of its inventory behind TLS, and the test reads the texts of the selection as they arrived.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <iterator>
#include <mutex>
#include <stdexcept>

#include "FlatSoapArg.h"
#include "LumDepl.h"
#include "LumVoxRpc.h"
#include "MethodHandler.h"
#include "PolicyContainerSoapArg.h"
#include "PolicyForwarder.h"
#include "SelectionSoapArg.h"
#include "SoapText.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TraceLines.h"
#include "Utils.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArg;
using LumVoxSoap::SOAPArgInt;
using LumVoxSoap::SOAPArgUnicodeString;
using Call = LumVoxRpc::RpcServerCall;

/// The texts of a selection's children as they came, whatever they mean.
class RawSelection : public FlatSoapArg {
public:
    RawSelection() : FlatSoapArg("PolicySelection") {}
    void WriteContent(LumPalXml::XmlWriter_t&) const override {}
    std::string text;

private:
    int StateOfChild(const String_t& localName) const override {
        return localName == "selection" ? 2 : localName == "name" ? 3 : 0;
    }
    void StoreChild(int state, const String_t& child) override { text += (state == 3 ? " " : "") + child.ToUtf8(); }
};

void Respond(Call& call, std::initializer_list<SOAPArg*> results) {
    LumVoxRpc::RpcServerResponse response = call.CreateResponse();
    response.SetArgs(static_cast<int>(results.size()), std::data(results));
    response.SendResponse("UTF-8");
}

/// An inventory as nodes lay it out.
std::string InventoryWith(const std::string& version) {
    return "NAME                    VERSION                 DESCRIPTION\n"
           "Other                   05.00.000               Something else\n"
           "TesselLumConf           " +
           version + "               Configuration\n";
}

class GateNode {
public:
    /// @param inventory  what the node answers; it may throw. Without one the node serves policies alone.
    explicit GateNode(std::function<std::string()> inventory) : tell(std::move(inventory)) {
        const TestAuthority authority("authority");
        InstallIdentity("node-1", authority.Issue("node-1", "DNS:localhost,IP:127.0.0.1"));
        InstallTrust("authority", authority.Certificate());
        policies.Register("policyOp", operate);
        policies.Register("list", list);
        inventories.Register("inventory", inventoryMethod);
        messenger = LumVoxMsg::Messenger(configuration,
                                         LumVoxMsg::Messenger::Options().SetAuthenticationMethod(1).SetBasePath("/"));
        messenger.Register(policies, true, 1);
        if (tell) messenger.Register(inventories, true, 1);
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(messenger.GetPort()));
    }
    ~GateNode() { messenger.Close(); }

    String_t Host() const { return String_t::FromUtf8("127.0.0.1:" + std::to_string(messenger.GetPort())); }
    void Close() { messenger.Close(); }
    LumVoxMsg::Messenger& Messenger() { return messenger; }
    /// Kind and name of the selections that came since the last call, as "3 web;".
    std::string Arrived() {
        const std::lock_guard lock(mutex);
        std::string all;
        all.swap(arrived);
        return all;
    }
    int Asked() const { return asked; }
    String_t AskedFor() {
        const std::lock_guard lock(mutex);
        return askedFor;
    }

private:
    static LumPalConfig::Configuration_t AnyPort() {
        LumPalConfig::Configuration_t made{String_t("vox.http.ext.conf")};
        made.SetAttrValue("SERVER_PORT", "0");
        return made;
    }
    void Note(const RawSelection& selection) {
        const std::lock_guard lock(mutex);
        arrived += selection.text + ";";
    }
    void Take(Call& call, bool isList) {
        RawSelection selection;
        SOAPArg* const arguments[] = {&selection};
        call.ReadRequest(1, arguments);
        Note(selection);
        SOAPArgInt value("PolicySelectionRetValue", 1);
        SOAPArgUnicodeString text("PolicySelectionRetString", String_t("done"));
        PolicyContainerSoapArg container("PolicyContainer");
        container.SetContainer(PolicyContainer());
        if (isList) return Respond(call, {&value, &text, &container});
        Respond(call, {&value, &text});
    }
    void TellInventory(Call& call) {
        SOAPArgUnicodeString type("objectType", String_t());
        SOAPArg* const arguments[] = {&type};
        call.ReadRequest(1, arguments);
        ++asked;
        {
            const std::lock_guard lock(mutex);
            askedFor = type.GetValue();
        }
        const std::string said = tell();
        SOAPArgUnicodeString inventory(said == kNoElement ? "other" : "inventory", String_t::FromUtf8(said));
        Respond(call, {&inventory});
    }

public:
    static constexpr const char* kNoElement = "an answer without its element";

private:
    TempRoot root;
    std::function<std::string()> tell;
    std::mutex mutex;
    std::string arrived;
    String_t askedFor;
    std::atomic<int> asked{0};
    MethodHandler operate{[this](Call& call) { Take(call, false); }};
    MethodHandler list{[this](Call& call) { Take(call, true); }};
    MethodHandler inventoryMethod{[this](Call& call) { TellInventory(call); }};
    LumPalConfig::Configuration_t configuration = AnyPort();
    LumVoxRpc::RpcServer policies{configuration,
                                  LumVoxRpc::RpcServer::Options().SetBasePath("com.tessel.lum.conf.core/voxrpcserver")};
    LumVoxRpc::RpcServer inventories{configuration,
                                     LumVoxRpc::RpcServer::Options().SetBasePath("com.tessel.lum.depl/voxrpcserver")};
    LumVoxMsg::Messenger messenger;
};

struct KindRow {
    Selection selection;
    const char *plain, *shifted;
};

const KindRow kKinds[] = {
    {Selection().SetPolicyId("i"), "0 i;", "0 i;"},
    {Selection().SetPolicyName("n"), "1 n;", "1 n;"},
    {Selection().SetPolicyTypeName("t"), "2 t;", "2 t;"},
    {Selection().SetPolicyCategory("c"), "3 c;", "4 c;"},
    {Selection().SetPolicyOwner("o"), "4 o;", "5 o;"},
    {Selection().SetPolicyOwnerAndName("o", "n"), "5 o=n;", "6 o=n;"},
    {Selection().SetPolicyAttribute("k"), "6 k;", "7 k;"},
    {Selection().SetPolicyAttribute("k", "v"), "7 k=v;", "8 k=v;"},
    {Selection(), "8 ;", "9 ;"},
    {Selection().SetPolicyNameAndTypeName("n", "t"), "9 n=t;", "3 n=t;"},
};

void ExpectKinds(GateNode& node, bool shifted, const std::string& what) {
    const PolicyForwarder forwarder;
    for (const KindRow& row : kKinds) {
        forwarder.Enable(node.Host(), row.selection, PolicyForwarder::Options());
        EXPECT_EQ(node.Arrived(), shifted ? row.shifted : row.plain) << what;
    }
}

struct VersionRow {
    const char* version;
    bool shifted;
};

class GateVersions : public testing::TestWithParam<VersionRow> {};

TEST_P(GateVersions, EachKindArrivesWithTheNumberThatTheNodeGivesIt) {
    GateNode node([] { return InventoryWith(GetParam().version); });
    ExpectKinds(node, GetParam().shifted, GetParam().version);
}
// The versions compare as texts: one without the leading zero lies above all of them.
const VersionRow kVersions[] = {
    {"00.00.000", false}, {"02.99.999", false}, {"03.00.009", false}, {"03.00.010", true},  {"03.00.011", true},
    {"04.50.000", true},  {"06.00.054", true},  {"06.00.055", true},  {"06.00.056", false}, {"06.00.0550", false},
    {"06.01.000", false}, {"07.00.000", false}, {"3.00.010", false},  {"6.00.055", false},  {"5", false},
    {"05", true},         {"10.00.000", false}, {"-", false},
};
INSTANTIATE_TEST_SUITE_P(Versions, GateVersions, testing::ValuesIn(kVersions),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(VersionGate, AnyNodeOfThisVersionGetsTheNumbersAsTheyAre) {
    LumDepl::InventoryServer inventory{LumPalConfig::Configuration_t(String_t("vox.http.ext.conf"))};
    GateNode node(nullptr);
    inventory.RegisterOn(node.Messenger());
    EXPECT_NE(Utils::GetVersion(node.Host()), "");
    ExpectKinds(node, false, "this version");
}

TEST(VersionGate, EveryRequestWithASelectionAsksOnceForThePackages) {
    GateNode node([] { return InventoryWith("05.00.000"); });
    const PolicyForwarder f;
    const Selection s = Selection().SetPolicyOwner("o");
    const PolicyForwarder::Options o;
    const String_t host = node.Host();
    const std::function<void()> requests[] = {
        [&] { f.Enable(host, s, o); },
        [&] { f.Disable(host, s, o); },
        [&] { f.Remove(host, s, o); },
        [&] { f.SetOwner(host, "x", s, o); },
        [&] { f.AddCategory(host, "c", s, o); },
        [&] { f.RemoveCategory(host, "c", s, o); },
        [&] { f.RemoveAllCategories(host, s, o); },
        [&] { f.AddAttribute(host, "k", "v", s, o); },
        [&] { f.RemoveAttribute(host, "k", "v", s, o); },
        [&] { f.RemoveAllAttributes(host, s, o); },
        [&] { f.List(host, s, ""); },
    };
    int asked = 0;
    for (const auto& request : requests) {
        request();
        ++asked;
        EXPECT_EQ(node.Arrived(), "5 o;") << asked;
        EXPECT_EQ(node.Asked(), asked);
    }
    EXPECT_EQ(node.AskedFor(), "package");
}

struct SilentRow {
    const char* what;
    std::function<std::string()> inventory;  ///< null: the node has none
    bool fails;                              ///< the question ends in a failure, which is traced
};

TEST(VersionGate, ANodeThatTellsNoVersionIsAskedWithTheNumbersAsTheyAre) {
    const SilentRow rows[] = {
        {"no inventory", nullptr, true},
        {"an empty one", [] { return std::string(); }, false},
        {"headings alone", [] { return std::string("NAME     VERSION    DESCRIPTION\n"); }, false},
        {"another package alone", [] { return std::string("NAME     VERSION\nOther    05.00.000\n"); }, false},
        {"an empty version", [] { return InventoryWith(""); }, false},
        {"no column of versions", [] { return std::string("NAME\nTesselLumConf 05.00.000\n"); }, false},
        {"a line that ends before the column",
         [] { return std::string("NAME                          VERSION             \nTesselLumConf 05.00\n"); },
         false},
        {"an answer without it", [] { return std::string(GateNode::kNoElement); }, true},
        {"a failure", []() -> std::string { throw std::runtime_error("the inventory is locked"); }, true},
    };
    for (const SilentRow& row : rows) {
        GateNode node(row.inventory);
        const TraceLines traced;
        const PolicyForwarder forwarder;
        for (const KindRow& kind : kKinds) {
            forwarder.Enable(node.Host(), kind.selection, PolicyForwarder::Options());
            EXPECT_EQ(node.Arrived(), kind.plain) << row.what;
        }
        EXPECT_EQ(traced.Contains("The version of node '" + node.Host().ToUtf8() + "' is not known"), row.fails)
            << row.what;
    }
}

TEST(VersionGate, AnInventoryThatTurnsUpLaterCountsFromThenOn) {
    std::atomic<bool> told{false};
    GateNode node([&told] { return told ? InventoryWith("05.00.000") : std::string(); });
    ExpectKinds(node, false, "before");
    told = true;
    ExpectKinds(node, true, "behind");
}

TEST(VersionGate, ANodeThatCannotBeReachedFailsTheRequestAndNotTheQuestion) {
    GateNode node([] { return InventoryWith("05.00.000"); });
    const String_t host = node.Host();
    node.Close();
    SelectionSoapArg argument("PolicySelection");
    EXPECT_NO_THROW(argument.SetSelection(Selection().SetPolicyOwner("o"), host));
    EXPECT_EQ(Written(argument), "<selection>4</selection><name>o</name>");
    EXPECT_THROW(PolicyForwarder().Enable(host, Selection(), PolicyForwarder::Options()),
                 LumPalNet::ConnectException_t);
}

TEST(VersionGate, TheLocalNodeIsNeverAsked) {
    GateNode node([] { return InventoryWith("05.00.000"); });
    const Selection selection = Selection().SetPolicyNameAndTypeName("n", "t");
    // Blanks around the host are no part of it.
    for (const char* host : {"localhost", " localhost "}) {
        PolicyForwarder().Enable(host, selection, PolicyForwarder::Options());
        PolicyForwarder().List(host, selection, "");
        EXPECT_EQ(node.Arrived(), "9 n=t;9 n=t;");
    }
    for (const char* host : {"", "localhost"}) {
        SelectionSoapArg argument("PolicySelection");
        argument.SetSelection(selection, host);
        EXPECT_EQ(Written(argument), "<selection>9</selection><name>n=t</name>");
    }
    EXPECT_EQ(node.Asked(), 0);
}

TEST(VersionGate, OnlyTheWordLocalhostIsTheLocalNode) {
    GateNode node([] { return InventoryWith("05.00.000"); });
    const String_t other = String_t("localhost") + node.Host().Mid(node.Host().Find(":"));
    PolicyForwarder().Enable(other, Selection(), PolicyForwarder::Options());
    EXPECT_EQ(node.Arrived(), "9 ;");
    EXPECT_EQ(node.Asked(), 1);
}

TEST(VersionGate, AnArgumentThatIsSetForAnotherHostForgetsTheFirstVersion) {
    GateNode node([] { return InventoryWith("05.00.000"); });
    SelectionSoapArg argument("PolicySelection");
    argument.SetSelection(Selection(), node.Host());
    EXPECT_EQ(Written(argument), "<selection>9</selection><name></name>");
    argument.SetSelection(Selection(), "localhost");
    EXPECT_EQ(Written(argument), "<selection>8</selection><name></name>");
}

TEST(VersionGate, AReaderNeverTranslates) {
    for (int kind = 0; kind <= 9; ++kind) {
        SelectionSoapArg argument("PolicySelection");
        ReadArgument(argument, "<selection>" + std::to_string(kind) + "</selection><name>x</name>");
        EXPECT_EQ(Written(argument), "<selection>" + std::to_string(kind) + "</selection><name>x</name>");
    }
}

}  // namespace
}  // namespace LumConf
