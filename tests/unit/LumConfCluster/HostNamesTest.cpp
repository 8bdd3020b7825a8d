// The hosts that nodes of a cluster are.
#include "HostNames.h"

#include <gtest/gtest.h>

#include "LumPalNet.h"
#include "LumPalTrc.h"

namespace {

using LumConfCluster::HostNamesOnce;
using LumConfCluster::IsNameOfHost;

constexpr const char* kNobody = "no such host";

TEST(HostNames, AreToldByTheNameServiceAndComparedToTheLetter) {
    const LumPalStr::String_t host = LumPalNet::InetAddress_t("127.0.0.1").GetHostName();
    EXPECT_TRUE(IsNameOfHost("127.0.0.1", host));
    EXPECT_FALSE(IsNameOfHost("127.0.0.1", host + "x"));
    EXPECT_FALSE(IsNameOfHost(kNobody, kNobody));
    EXPECT_FALSE(IsNameOfHost("", ""));
}

TEST(HostNames, AreAskedForOnceWhereThatIsWanted) {
    int failures = 0;
    const LumPalTrc::ScopedListener_t listener([&](const char*, int, const LumPalStr::String_t& text) {
        failures += text.Find(kNobody) != LumPalStr::NotFound;
    });
    const auto asked = [&] {
        const int before = failures;
        for (int i = 0; i < 5; ++i) EXPECT_FALSE(IsNameOfHost(kNobody, "north"));
        return failures - before;
    };
    const int each = asked() / 5;
    EXPECT_GT(each, 0);
    {
        const HostNamesOnce once;
        { const HostNamesOnce inner; }
        EXPECT_EQ(asked(), each);
        EXPECT_EQ(asked(), 0);
    }
    EXPECT_EQ(asked(), 5 * each);
}

}  // namespace
