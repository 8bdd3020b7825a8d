#include "HttpHead.h"

#include <gtest/gtest.h>

using LumVoxMsg::CheckHead;
using LumVoxMsg::HttpHead;
using LumVoxMsg::SplitTarget;

namespace {

struct Row {
    const char* what;
    HttpHead head;
    unsigned status;
};

const Row kRows[] = {
    {"a call", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "3"}}}, 0},
    {"a call in chunks", {"POST", "/", 11, {{"Host", "a"}, {"transfer-encoding", "Chunked"}}}, 0},
    {"a call of HTTP/1.0", {"POST", "/", 10, {{"Content-Length", "3"}}}, 0},
    {"a request without a body", {"GET", "/", 11, {{"host", "a"}}}, 0},
    {"an expectation", {"POST", "/", 11, {{"Host", "a"}, {"Expect", "100-Continue"}, {"Content-Length", "3"}}}, 0},
    {"no length", {"POST", "/", 11, {{"Host", "a"}}}, 411},
    {"no host", {"POST", "/", 11, {{"Content-Length", "3"}}}, 400},
    {"two hosts", {"POST", "/", 11, {{"Host", "a"}, {"HOST", "a"}, {"Content-Length", "3"}}}, 400},
    {"two hosts in HTTP/1.0", {"GET", "/", 10, {{"Host", "a"}, {"HOST", "a"}}}, 400},
    {"both lengths",
     {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "3"}, {"Transfer-Encoding", "chunked"}}},
     400},
    {"two equal lengths", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "3"}, {"content-length", "3"}}}, 400},
    {"two lengths", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "3"}, {"Content-Length", "4"}}}, 400},
    {"a list of lengths", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "3, 3"}}}, 400},
    {"a signed length", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "+3"}}}, 400},
    {"a negative length", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "-3"}}}, 400},
    {"a hexadecimal length", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", "0x3"}}}, 400},
    {"an empty length", {"POST", "/", 11, {{"Host", "a"}, {"Content-Length", ""}}}, 400},
    {"two codings in two fields",
     {"POST", "/", 11, {{"Host", "a"}, {"Transfer-Encoding", "chunked"}, {"Transfer-Encoding", "chunked"}}},
     400},
    {"two codings in one field", {"POST", "/", 11, {{"Host", "a"}, {"Transfer-Encoding", "gzip, chunked"}}}, 501},
    {"an unknown coding", {"POST", "/", 11, {{"Host", "a"}, {"Transfer-Encoding", "xchunked"}}}, 501},
    {"a coding in HTTP/1.0", {"POST", "/", 10, {{"Transfer-Encoding", "chunked"}}}, 400},
    {"an unknown expectation", {"POST", "/", 11, {{"Host", "a"}, {"Expect", "tea"}, {"Content-Length", "3"}}}, 417},
    {"a target with a host", {"GET", "http://b:7443/x", 11, {{"Host", "a"}}}, 0},
    {"a target with an empty host", {"GET", "http:///x", 11, {{"Host", "a"}}}, 400},
    {"a target with a user", {"GET", "HTTPS://u@localhost/x", 11, {{"Host", "a"}}}, 400},
    {"a target with an impossible port", {"GET", "http://localhost:70000", 11, {{"Host", "a"}}}, 400},
    {"HTTP/1.2", {"GET", "/", 12, {{"Host", "a"}}}, 505},
    {"HTTP/2.0", {"GET", "/", 20, {{"Host", "a"}}}, 505},
};

}  // namespace

TEST(HttpHead, RefusesWhatCannotBeFramedInOneWay) {
    for (const Row& row : kRows) EXPECT_EQ(CheckHead(row.head).status, row.status) << row.what;
}

TEST(HttpHead, AFieldThatStandsTwiceCountsAsAbsent) {
    const HttpHead head{"POST", "/", 11, {{"Authorization", "a"}, {"authorization", "b"}, {"A", "c"}}};
    EXPECT_EQ(head.Only("Authorization"), "");
    EXPECT_EQ(head.Only("a"), "c");
    EXPECT_EQ(head.Only("b"), "");
}

TEST(HttpHead, ATargetHasPathAndQuery) {
    const struct {
        const char *target, *path, *query;
    } rows[] = {{"/a/b", "/a/b", ""},
                {"/a?wsdl", "/a", "wsdl"},
                {"/a?b?c", "/a", "b?c"},
                {"http://host:1/a", "/a", ""},
                {"HTTPS://host/a?b", "/a", "b"},
                {"http://host", "/", ""},
                {"http://host?b", "/", "b"},
                {"*", "*", ""},
                {"", "/", ""}};
    for (const auto& row : rows) {
        std::string_view query;
        EXPECT_EQ(SplitTarget(row.target, query), row.path) << row.target;
        EXPECT_EQ(query, row.query) << row.target;
    }
}

TEST(HttpHead, AHostIsANameOrAnAddressWithAPortOrWithout) {
    for (const char* host :
         {"a", "A.example:1", "1.2.3.4", "[::1]:7443", "a_b-c", "a.", "a:", "a:65535", "[::ffff:1.2.3.4]"})
        EXPECT_TRUE(LumVoxMsg::IsHost(host)) << host;
    for (const char* host :
         {"",      " ",        "a b",  "a/", "a\\b", "a?b",    "a#b",     "u@a", "a\"",     "<a>", "a&b",
          "a%20b", "\xC3\xA4", ".",    "..", "a..b", ".a",     "-a",      "a-",  "a:65536", "a:x", "a:-1",
          "a:1:2", "::1",      "[::1", "[]", "[a]",  "[::1]x", "[::1]:x", ":",   ":80"})
        EXPECT_FALSE(LumVoxMsg::IsHost(host)) << host;
}

TEST(HttpHead, ATargetMayNameItsHost) {
    const struct {
        const char* target;
        std::optional<std::string_view> host;
    } rows[] = {
        {"/a", std::nullopt},           {"*", std::nullopt}, {"http:/a", std::nullopt},
        {"/http://a", std::nullopt},    {"http://a", "a"},   {"HTTPS://a:1/b", "a:1"},
        {"http://[::1]?wsdl", "[::1]"}, {"http://", ""},     {"http:///a", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(LumVoxMsg::TargetHost(row.target), row.host) << row.target;
}
