#include <gtest/gtest.h>

#include "Configure.h"
#include "MessageForwarder.h"
#include "Raised.h"
#include "TempRoot.h"

namespace LumConf {
namespace {

using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

struct AddressRow {
    const char* host;
    const char* certificate;  ///< CERT_INSTALLED; null: not set
    const char* uri;
    const char* trimmed;
};

const char* const kPlain = "http://localhost/com.tessel.lum.conf.core/voxrpcserver";
const char* const kSecure = "https://localhost/com.tessel.lum.conf.core/voxrpcserver";

const AddressRow kAddresses[] = {
    {"localhost", nullptr, kPlain, "localhost"},
    {"localhost", "false", kPlain, "localhost"},
    {"localhost", "0", kPlain, "localhost"},
    {"localhost", "", kPlain, "localhost"},
    {"localhost", "true", kSecure, "localhost"},
    {"localhost", "1", kSecure, "localhost"},
    {"localhost", "YES", kSecure, "localhost"},
    {" localhost ", nullptr, kPlain, "localhost"},
    {"\tlocalhost\r\n", "false", kPlain, "localhost"},
    {" localhost ", "true", kSecure, "localhost"},
    {"LOCALHOST", nullptr, "https://LOCALHOST/com.tessel.lum.conf.core/voxrpcserver", "LOCALHOST"},
    {"localhost.", nullptr, "https://localhost./com.tessel.lum.conf.core/voxrpcserver", "localhost."},
    {"localhost:7443", nullptr, "https://localhost:7443/com.tessel.lum.conf.core/voxrpcserver", "localhost:7443"},
    {"127.0.0.1", nullptr, "https://127.0.0.1/com.tessel.lum.conf.core/voxrpcserver", "127.0.0.1"},
    {"[::1]", "false", "https://[::1]/com.tessel.lum.conf.core/voxrpcserver", "[::1]"},
    {" node-1.example ", "false", "https://node-1.example/com.tessel.lum.conf.core/voxrpcserver", "node-1.example"},
    {"node-1.example", "true", "https://node-1.example/com.tessel.lum.conf.core/voxrpcserver", "node-1.example"},
};

TEST(MessageForwarderAddress, OnlyTheWordLocalhostWithoutACertificateIsPlain) {
    for (const AddressRow& row : kAddresses) {
        const TempRoot root;
        if (row.certificate) Configure("sec.cm.certificates", "CERT_INSTALLED", row.certificate);
        String_t host = row.host;
        EXPECT_EQ(MessageForwarder::GetTargetUri(host, "/com.tessel.lum.conf.core").ToString(), row.uri);
        EXPECT_EQ(host, row.trimmed);
    }
}

TEST(MessageForwarderAddress, NothingStandsBetweenHostPathAndServer) {
    const TempRoot root;
    String_t host = "localhost";
    EXPECT_EQ(MessageForwarder::GetTargetUri(host, "").ToString(), "http://localhost/voxrpcserver");
    EXPECT_EQ(MessageForwarder::GetTargetUri(host, "/a/b").ToString(), "http://localhost/a/b/voxrpcserver");
}

TEST(MessageForwarderAddress, AnEmptyHostIsRefused) {
    const TempRoot root;
    for (const String_t& blank : {String_t(""), String_t(" "), String_t("\t \r\n"), String_t::Null()}) {
        String_t host = blank;
        EXPECT_RAISES(MessageForwarder::GetTargetUri(host, "/a"), IllegalArgumentError_t, 129);
    }
}

TEST(MessageForwarderAddress, TheRefusalOfAnEmptyHostSaysWhatToDo) {
    const TempRoot root;
    String_t host = " ";
    const auto messages = MessagesOf<IllegalArgumentError_t>([&] { MessageForwarder::GetTargetUri(host, "/a"); });
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "Empty host name specified. Specify a valid host name.");
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
}

}  // namespace
}  // namespace LumConf
