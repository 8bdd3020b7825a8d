#include <gtest/gtest.h>
#include <unistd.h>

#include "LumPalNet.h"

namespace {

using LumPalNet::ConnectException_t;
using LumPalNet::InetAddress_t;
using LumPalStr::String_t;

InetAddress_t At(const char* name) {
    return InetAddress_t(String_t(name));
}

TEST(InetAddress, AreEqualWhenTheyAreTheSameMachine) {
    const struct {
        const char* a;
        const char* b;
        bool equal;
    } rows[] = {
        {"192.0.2.1", "192.0.2.1", true},
        {"192.0.2.1", "192.0.2.2", false},
        {"192.0.2.1", "::ffff:192.0.2.1", true},
        {"2001:db8::1", "2001:db8:0:0:0:0:0:1", true},
        {"2001:db8::1", "2001:db8::2", false},
        {"127.0.0.1", "127.1.2.3", true},
        {"127.0.0.1", "::1", true},
        {"localhost", "127.0.0.1", true},
        {"localhost", "192.0.2.1", false},
        {"127.0.0.1", "128.0.0.1", false},
        {"::1", "::2", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(At(row.a) == At(row.b), row.equal) << row.a << " " << row.b;
        EXPECT_EQ(At(row.b) == At(row.a), row.equal) << row.b << " " << row.a;
    }
}

TEST(InetAddress, OfTheLocalHostIsThisMachine) {
    const InetAddress_t local = InetAddress_t::GetLocalHost();
    EXPECT_TRUE(local == local);
    EXPECT_TRUE(local == At("localhost"));
    EXPECT_TRUE(At("127.0.0.1") == local);
    EXPECT_FALSE(local == At("192.0.2.1"));
    EXPECT_TRUE(local != At("2001:db8::1"));
}

TEST(InetAddress, OfTheLocalHostBearsTheSystemsName) {
    char name[256] = "";
    ASSERT_EQ(gethostname(name, sizeof name), 0);
    EXPECT_EQ(InetAddress_t::GetLocalHost().GetHostName(), String_t::FromUtf8(name));
}

TEST(InetAddress, KeepsTheNameAsGiven) {
    EXPECT_EQ(At("localhost").GetHostName(), "localhost");
    EXPECT_EQ(At("192.0.2.1").GetHostName(), "192.0.2.1");
}

TEST(InetAddress, KnowsLoopbackAddresses) {
    for (const char* const name : {"127.0.0.1", "127.255.0.1", "::1", "::ffff:127.0.0.1", "localhost"}) {
        EXPECT_TRUE(At(name).IsLoopback()) << name;
    }
    for (const char* const name : {"192.0.2.1", "2001:db8::1", "128.0.0.1", "::7f00:1"}) {
        EXPECT_FALSE(At(name).IsLoopback()) << name;
    }
}

TEST(InetAddress, SaysWhichNameCannotBeResolved) {
    const String_t rows[] = {"",
                             String_t::Null(),
                             "no such host",
                             "a..b",
                             "1.2.3.4.5",
                             "[::1]",
                             "host:80",
                             "127.0.0.1/8",
                             "http://localhost",
                             String_t(u"localhost\0.evil", 15)};
    for (const String_t& name : rows) {
        try {
            const InetAddress_t address(name);
            ADD_FAILURE() << "resolved: " << name;
        } catch (const ConnectException_t& e) {
            const String_t said = e.GetMessageList().Format(LumPalMsg::BareText);
            EXPECT_NE(said.Find("'" + name + "'"), LumPalStr::NotFound) << said;
        }
    }
}

}  // namespace
