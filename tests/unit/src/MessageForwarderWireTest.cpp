#include <gtest/gtest.h>

#include "AnswerRows.h"
#include "Configure.h"
#include "Files.h"
#include "Groups.h"
#include "InstallOptions.h"
#include "LumVoxSoap.h"
#include "MessageForwarder.h"
#include "Raised.h"
#include "ScriptedPeer.h"
#include "Selection.h"
#include "SoapText.h"
#include "TempRoot.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPFaultException;
using LumVoxSoap::SOAPFormatException;
using Options = PolicyForwarder::Options;

std::string Http(const std::string& status, const std::string& body) {
    return "HTTP/1.1 " + status + "\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

std::string Good(const std::string& results) {
    return Http("200 OK", SoapMessage(results));
}

const char* const kInstalled =
    "<PolicyInstallRetValue>1</PolicyInstallRetValue><PolicyInstallRetString>done</PolicyInstallRetString>";
const char* const kOperated =
    "<PolicySelectionRetValue>1</PolicySelectionRetValue><PolicySelectionRetString>done</PolicySelectionRetString>";

/// A peer of given bytes is the target of "localhost".
struct MessageForwarderWire : testing::Test {
    TempRoot root;
    std::unique_ptr<ScriptedPeer> peer;
    std::unique_ptr<MessageForwarder> forwarder;

    void Script(const std::vector<std::string>& answers) {
        forwarder.reset();
        peer = std::make_unique<ScriptedPeer>(answers);
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(peer->Port()).c_str());
        WriteText(root.Native() + "/etc/local.secret", "one that proves nothing");
        forwarder = std::make_unique<MessageForwarder>();
    }
    void Install(const InstallOptions& options = InstallOptions(), InstallMethod how = InstallMethod::Policy) {
        forwarder->SendInstall("install", RequestKind::Install, "localhost", "p_header.xml", CharArray_t("\x01<&\xFF"),
                               options, how);
    }
    void Operate(const Options& options = Options()) {
        forwarder->SendSelection("policyOp", RequestKind::Selection, OperationMode::SetOwner, "localhost", "a<b",
                                 Selection().SetPolicyOwnerAndName("Owner", "Name"), options);
    }
    PolicyContainer List() {
        return forwarder->SendList("list", RequestKind::List, "localhost", "", Selection().SetPolicyId("P1"));
    }
    LumPalConfig::ConfigGroup_t SendSettings(const LumPalConfig::ConfigGroup_t& group = LumPalConfig::ConfigGroup_t()) {
        return forwarder->SendConfig("configOp", RequestKind::Configuration, ConfigMode::ClearAttribute, "localhost",
                                     "", "rg&1", group);
    }
    /// What the client sent inside the method element, with it.
    std::string Sent(std::size_t index = 0) {
        const std::string request = peer->Request(index);
        const std::size_t begin = request.find("<m:"), end = request.find("</soap:Body>");
        return begin < end && end != std::string::npos ? request.substr(begin, end - begin) : request;
    }
};

TEST_F(MessageForwarderWire, AnInstallIsFourArgumentsInOrderWithoutTypes) {
    Script({Good(kInstalled)});
    Install(InstallOptions().SetTargetID("").SetCloseConnection(true), InstallMethod::Package);
    EXPECT_TRUE(peer->Request(0).starts_with("POST /com.tessel.lum.conf.core/voxrpcserver HTTP/1.1\r\n"));
    EXPECT_EQ(Sent(),
              "<m:install xmlns:m=\"urn:lum:conf\"><PolicyInstallFilename>p_header.xml</PolicyInstallFilename>"
              "<PolicyByteArrayName>ATwm/w==</PolicyByteArrayName>"
              "<PolicyInstallOptions><notify>true</notify><status>-1</status><forcestate>false</forcestate>"
              "<checkversion>false</checkversion><removeallcategories>false</removeallcategories>"
              "<removeallattributes>false</removeallattributes><owner></owner><removeowner>false</removeowner>"
              "<forcecat>false</forcecat><forceall>false</forceall><forceowner>false</forceowner>"
              "<forceattr>false</forceattr></PolicyInstallOptions>"
              "<PolicyInstallMethod>2</PolicyInstallMethod></m:install>");
}

TEST_F(MessageForwarderWire, AnOperationIsFourArgumentsInOrderWithTypesOnNumberAndText) {
    Script({Good(kOperated)});
    Operate();
    EXPECT_TRUE(peer->Request(0).starts_with("POST /com.tessel.lum.conf.core/voxrpcserver HTTP/1.1\r\n"));
    EXPECT_EQ(Sent(),
              "<m:policyOp xmlns:m=\"urn:lum:conf\"><PolicyOperationMode xsi:type=\"xsd:int\">5</PolicyOperationMode>"
              "<PolicyString1 xsi:type=\"xsd:string\">a&lt;b</PolicyString1>"
              "<PolicySelection><selection>5</selection><name>Owner=Name</name></PolicySelection>"
              "<PolicyOptions><notify>true</notify></PolicyOptions></m:policyOp>");
}

TEST_F(MessageForwarderWire, AListIsTheSelectionAlone) {
    Script({Good(kOperated + std::string("<PolicyContainer/>"))});
    EXPECT_EQ(List().GetCount(), 0);
    EXPECT_TRUE(peer->Request(0).starts_with("POST /com.tessel.lum.conf.core/voxrpcserver HTTP/1.1\r\n"));
    EXPECT_EQ(Sent(),
              "<m:list xmlns:m=\"urn:lum:conf\"><PolicySelection><selection>0</selection><name>p1</name>"
              "</PolicySelection></m:list>");
}

TEST_F(MessageForwarderWire, AListOfThoseThatNameDataFilesIsTheTypeAndTheFiles) {
    Script({Good(kOperated + std::string("<PolicyContainer><policyheader><policy_container_id>p1</policy_container_id>"
                                         "<policy_data_file>a</policy_data_file></policyheader></PolicyContainer>"))});
    const PolicyContainer list = forwarder->SendListNaming("localhost", "", "Type", {"a", "b&c"});
    ASSERT_EQ(list.GetCount(), 1);
    ASSERT_EQ(list.GetPolicyHeader(0).GetDataFileCount(), 1);
    EXPECT_EQ(list.GetPolicyHeader(0).GetDataFile(0), "a");
    EXPECT_EQ(Sent(),
              "<m:list xmlns:m=\"urn:lum:conf\"><PolicySelection><selection>2</selection><name>type</name>"
              "</PolicySelection><PolicyDataFiles><policy_data_file>a</policy_data_file>"
              "<policy_data_file>b&amp;c</policy_data_file></PolicyDataFiles></m:list>");
    EXPECT_EQ(peer->RequestCount(), 1u) << "the node is not asked for its version first";
}

const char* const kConfigured = "<ConfigReturnValue>1</ConfigReturnValue><ConfigReturnString>done</ConfigReturnString>";

TEST_F(MessageForwarderWire, ASettingsRequestIsThreeArgumentsInOrderWithTypesOnNumberAndText) {
    Script({Good(kConfigured + std::string("<ConfigGroupName/>"))});
    EXPECT_EQ(Shown(SendSettings(GroupOf({{"b", "Y", "a<b"}, {"b", "X", ""}, {"a"}}))), "");
    EXPECT_TRUE(peer->Request(0).starts_with("POST /com.tessel.lum.conf.core/voxrpcserver HTTP/1.1\r\n"));
    EXPECT_EQ(Sent(),
              "<m:configOp xmlns:m=\"urn:lum:conf\"><PolicyOperationMode xsi:type=\"xsd:int\">20</PolicyOperationMode>"
              "<ConfigPackageName xsi:type=\"xsd:string\">rg&amp;1</ConfigPackageName>"
              "<ConfigGroupName><ns>a</ns><ns>b</ns><attrname>X</attrname><attrvalue></attrvalue>"
              "<attrname>Y</attrname><attrvalue>a&lt;b</attrvalue></ConfigGroupName></m:configOp>");
}

TEST_F(MessageForwarderWire, AnEmptyGroupIsSentAsItIs) {
    Script({Good(kConfigured)});
    EXPECT_EQ(Shown(SendSettings()), "") << "and a success without a group is an empty one";
    EXPECT_NE(Sent().find("<ConfigGroupName></ConfigGroupName>"), std::string::npos);
}

TEST_F(MessageForwarderWire, AGroupOfTheAnswerIsReadWhereverItStands) {
    Script(
        {Good("<ConfigGroupName xmlns='urn:x'><ns>a</ns><attrname>X</attrname><attrvalue>\r\n1&#13;</attrvalue>"
              "</ConfigGroupName>" +
              std::string(kConfigured))});
    EXPECT_EQ(Shown(SendSettings()), "[a]X=\n1\r;");
}

TEST_F(MessageForwarderWire, ASettingsRequestThatFailsKeepsItsGroupToItself) {
    const std::string group = "<ConfigGroupName><ns>a</ns></ConfigGroupName>";
    Script({Good(group + "<ConfigReturnValue>8</ConfigReturnValue><ConfigReturnString>no</ConfigReturnString>"),
            Good(group + "<ConfigReturnString>words</ConfigReturnString>"),
            Good(group + "<ConfigReturnValue>7</ConfigReturnValue>")});
    ExpectAnswerRow(answers::configuration[0], "localhost", "", "no", [&] { SendSettings(); });
    ExpectAnswerRow(answers::configurationUndefined, "localhost", "", "words", [&] { SendSettings(); });
    ExpectAnswerRow(answers::Other(answers::configurationUndefined, 7), "localhost", "", "", [&] { SendSettings(); });
}

TEST_F(MessageForwarderWire, AGroupThatCannotBeReadIsNoSuccess) {
    for (const char* inside :
         {"<more/>", "<ns>a</ns><attr/>", "<ns><ns/></ns>", "<attrname>X</attrname><attrvalue>1</attrvalue>",
          "<ns>a</ns><attrname>X</attrname>", "<ns>a</ns><attrvalue>1</attrvalue>"}) {
        Script({Good(kConfigured + std::string("<ConfigGroupName>") + inside + "</ConfigGroupName>")});
        EXPECT_THROW(SendSettings(), SOAPFormatException) << inside;
    }
}

TEST_F(MessageForwarderWire, TheFlagToCloseTheConnectionChangesNothing) {
    Script({Good(kOperated), Good(kInstalled), Good(kOperated)});
    Operate(Options().SetCloseConnection(true));
    Install(InstallOptions().SetCloseConnection(true));
    Operate();
    EXPECT_EQ(peer->RequestCount(), 3u);
    EXPECT_EQ(peer->Connections(), 1);
    EXPECT_EQ(Sent(0), Sent(2));
}

TEST_F(MessageForwarderWire, ResultsAreFoundByNameAmongOthersInAnyOrder) {
    Script(
        {Good("<More><PolicySelectionRetValue>9</PolicySelectionRetValue></More>"
              "<PolicySelectionRetString>words</PolicySelectionRetString><PolicyInstallRetValue>1"
              "</PolicyInstallRetValue><p:PolicySelectionRetValue xmlns:p='urn:p'> 3 </p:PolicySelectionRetValue>")});
    ExpectAnswerRow(answers::selection[1], "localhost", "", "words", [&] { Operate(); });
}

TEST_F(MessageForwarderWire, AnAnswerWithoutReturnValueIsAnUndefinedError) {
    Script({Good("<PolicyInstallRetString>words</PolicyInstallRetString>")});
    ExpectAnswerRow(answers::installUndefined, "localhost", "p_header.xml", "words", [&] { Install(); });
    ExpectAnswerRow(answers::packageUndefined, "localhost", "", "words",
                    [&] { Install(InstallOptions(), InstallMethod::Package); });
    Script({Good("<PolicySelectionRetString>words</PolicySelectionRetString><PolicyContainer/>")});
    ExpectAnswerRow(answers::selectionUndefined, "localhost", "", "words", [&] { Operate(); });
    ExpectAnswerRow(answers::selectionUndefined, "localhost", "", "words", [&] { List(); });
}

TEST_F(MessageForwarderWire, AnAnswerWithNothingInItIsAnUndefinedErrorWithoutWords) {
    Script({Good("")});
    ExpectAnswerRow(answers::selectionUndefined, "localhost", "", "", [&] { Operate(); });
    ExpectAnswerRow(answers::installUndefined, "localhost", "p_header.xml", "", [&] { Install(); });
}

TEST_F(MessageForwarderWire, AnAnswerWithoutTextStillCounts) {
    Script({Good("<PolicySelectionRetValue>1</PolicySelectionRetValue>"),
            Good("<PolicySelectionRetValue>4</PolicySelectionRetValue>")});
    EXPECT_NO_THROW(Operate());
    ExpectAnswerRow(answers::selection[2], "localhost", "", "", [&] { Operate(); });
}

TEST_F(MessageForwarderWire, AListWithoutPoliciesElementFailsWhateverItsReturnValue) {
    for (const char* value : {"1", "2", "3", "8", "0"}) {
        Script({Good("<PolicySelectionRetValue>" + std::string(value) +
                     "</PolicySelectionRetValue><PolicySelectionRetString>words</PolicySelectionRetString>")});
        EXPECT_RAISES(List(), PolicyNotFoundError, 153);
    }
}

TEST_F(MessageForwarderWire, AListThatSaysNoPoliciesWithItsElementTellsSo) {
    Script(
        {Good("<PolicyContainer/><PolicySelectionRetValue>2</PolicySelectionRetValue>"
              "<PolicySelectionRetString>none</PolicySelectionRetString>")});
    ExpectAnswerRow(answers::list[0], "localhost", "", "none", [&] { List(); });
}

TEST_F(MessageForwarderWire, AListThatFailsKeepsItsPoliciesToItself) {
    Script(
        {Good("<PolicyContainer><policyheader><policy_container_id>p1</policy_container_id></policyheader>"
              "</PolicyContainer><PolicySelectionRetValue>8</PolicySelectionRetValue>"
              "<PolicySelectionRetString>no</PolicySelectionRetString>")});
    ExpectAnswerRow(answers::list[2], "localhost", "", "no", [&] { List(); });
}

struct BadAnswer {
    const char* what;
    std::string results;
};

const BadAnswer kBadAnswers[] = {
    {"a return value in words", "<PolicySelectionRetValue>one</PolicySelectionRetValue>"},
    {"an empty return value", "<PolicySelectionRetValue/>"},
    {"a return value beyond 32 bits", "<PolicySelectionRetValue>4294967297</PolicySelectionRetValue>"},
    {"a return value with an element inside", "<PolicySelectionRetValue><x/>1</PolicySelectionRetValue>"},
    {"two return values",
     "<PolicySelectionRetValue>1</PolicySelectionRetValue>"
     "<PolicySelectionRetValue>1</PolicySelectionRetValue>"},
    {"a text with an element inside", "<PolicySelectionRetString>a<b/></PolicySelectionRetString>"},
    {"text outside the results", "1"},
};

TEST_F(MessageForwarderWire, AMalformedAnswerIsNoSuccess) {
    for (const BadAnswer& row : kBadAnswers) {
        Script({Good(row.results)});
        EXPECT_THROW(Operate(), SOAPFormatException) << row.what;
    }
}

TEST_F(MessageForwarderWire, AnAnswerThatIsCutIsNoSuccess) {
    const std::string whole = SoapMessage(kOperated);
    std::vector<std::string> answers;
    for (std::size_t length = 0; length < whole.size(); ++length)
        answers.push_back(Http("200 OK", whole.substr(0, length)));
    answers.push_back(Http("200 OK", whole));
    Script(answers);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(Operate(), LumPalMsg::RuntimeException_t) << length;
    EXPECT_NO_THROW(Operate());
}

TEST_F(MessageForwarderWire, WhatIsNoAnswerPassesAsTheTransportsFailure) {
    for (const char* status : {"404 Not Found", "401 Unauthorized", "413 Too Large", "500 Oops", "503 Busy"}) {
        Script({Http(status, "<html/>")});
        EXPECT_THROW(Operate(), SOAPFormatException) << status;
    }
    Script({Http("500 Internal Server Error",
                 "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><e:Fault>"
                 "<faultcode>e:Server</faultcode><faultstring>no</faultstring></e:Fault></e:Body></e:Envelope>")});
    EXPECT_THROW(Install(), SOAPFaultException);
    EXPECT_THROW(Operate(), SOAPFaultException);
    EXPECT_THROW(List(), SOAPFaultException);
    Script({""});
    EXPECT_THROW(Operate(), ConnectException_t);
}

TEST_F(MessageForwarderWire, AForwarderGoesOnAfterEveryKindOfFailure) {
    Script({Http("404 Not Found", ""), Good(kOperated), Good("x"), Good(kOperated),
            Good("<PolicySelectionRetValue>8</PolicySelectionRetValue>"), Good(kOperated)});
    for (int failure = 0; failure < 3; ++failure) {
        EXPECT_THROW(Operate(), LumPalMsg::RuntimeException_t) << failure;
        EXPECT_NO_THROW(Operate()) << failure;
    }
}

}  // namespace
}  // namespace LumConf
