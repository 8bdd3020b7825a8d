#include "HeaderScan.h"

#include <gtest/gtest.h>

#include <string>

using LumVoxMsg::HeaderScan;
using Result = LumVoxMsg::HeaderScan::Result;

namespace {

struct Row {
    const char* what;
    std::string bytes;
    Result result;
};

const Row kRows[] = {
    {"a request line and a field", "GET / HTTP/1.1\r\nHost: a\r\n\r\n", Result::Complete},
    {"no field", "GET / HTTP/1.0\r\n\r\n", Result::Complete},
    {"an empty value", "GET / HTTP/1.1\r\nHost:\r\n\r\n", Result::Complete},
    {"a tab and bytes beyond ASCII in a value", "GET / HTTP/1.1\r\nA: \t\xC3\xA4\r\n\r\n", Result::Complete},
    {"nothing", "", Result::NeedMore},
    {"a cut request line", "GET / HT", Result::NeedMore},
    {"a cut field", "GET / HTTP/1.1\r\nHo", Result::NeedMore},
    {"no empty line", "GET / HTTP/1.1\r\nHost: a\r\n", Result::NeedMore},
    {"half of the empty line", "GET / HTTP/1.1\r\nHost: a\r\n\r", Result::NeedMore},
    {"a request line without CR", "GET / HTTP/1.1\nHost: a\r\n\r\n", Result::Bad},
    {"a field without CR", "GET / HTTP/1.1\r\nHost: a\n\r\n", Result::Bad},
    {"an empty line without CR", "GET / HTTP/1.1\r\nHost: a\r\n\n", Result::Bad},
    {"a CR inside a value", "GET / HTTP/1.1\r\nHost: a\rb\r\n\r\n", Result::Bad},
    {"a CR inside the request line", "GET /\r HTTP/1.1\r\n\r\n", Result::Bad},
    {"a folded field", "GET / HTTP/1.1\r\nHost: a\r\n b\r\n\r\n", Result::Bad},
    {"a field folded by a tab", "GET / HTTP/1.1\r\nHost: a\r\n\tb\r\n\r\n", Result::Bad},
    {"a blank before the first field", "GET / HTTP/1.1\r\n Host: a\r\n\r\n", Result::Bad},
    {"a blank before the colon", "GET / HTTP/1.1\r\nHost : a\r\n\r\n", Result::Bad},
    {"a line without a colon", "GET / HTTP/1.1\r\nHost\r\n\r\n", Result::Bad},
    {"an empty name", "GET / HTTP/1.1\r\n: a\r\n\r\n", Result::Bad},
    {"NUL in a name", std::string("GET / HTTP/1.1\r\nHo\0st: a\r\n\r\n", 29), Result::Bad},
    {"NUL in a value", std::string("GET / HTTP/1.1\r\nHost: \0\r\n\r\n", 27), Result::Bad},
    {"NUL in the target", std::string("GET /\0 HTTP/1.1\r\n\r\n", 20), Result::Bad},
    {"DEL in a value", "GET / HTTP/1.1\r\nHost: \x7F\r\n\r\n", Result::Bad},
    {"a byte beyond ASCII in the target", "GET /\xC3\xA4 HTTP/1.1\r\n\r\n", Result::Bad},
    {"a tab in the request line", "GET\t/ HTTP/1.1\r\n\r\n", Result::Bad},
    {"a method in lower case", "get / HTTP/1.1\r\n\r\n", Result::Bad},
    {"an empty line first", "\r\nGET / HTTP/1.1\r\n\r\n", Result::Bad},
    {"a TLS handshake", "\x16\x03\x01\x02", Result::Bad},
};

}  // namespace

TEST(HeaderScan, KnowsEndAndFaultsOfAHeader) {
    for (const Row& row : kRows) {
        HeaderScan scan;
        std::size_t used = 0;
        EXPECT_EQ(scan.Feed(row.bytes, used), row.result) << row.what;
        if (row.result == Result::Complete) {
            EXPECT_EQ(used, row.bytes.size()) << row.what;
        }
    }
}

TEST(HeaderScan, FindsTheSameByteByByte) {
    for (const Row& row : kRows) {
        HeaderScan scan;
        Result result = Result::NeedMore;
        for (std::size_t i = 0; i < row.bytes.size() && result == Result::NeedMore; ++i) {
            std::size_t used = 0;
            result = scan.Feed(std::string_view(row.bytes).substr(i, 1), used);
        }
        EXPECT_EQ(result, row.result) << row.what;
    }
}

TEST(HeaderScan, LeavesTheBodyAlone) {
    HeaderScan scan;
    std::size_t used = 0;
    const std::string header = "POST / HTTP/1.1\r\nHost: a\r\n\r\n";
    EXPECT_EQ(scan.Feed(header + "\n\x01 body", used), Result::Complete);
    EXPECT_EQ(used, header.size());
}
