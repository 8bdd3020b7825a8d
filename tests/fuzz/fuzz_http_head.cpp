// Any bytes as the header of a request: the scan ends at the same place with the same result however the bytes arrive,
// and what it lets through can be split at its line ends, checked and routed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "HeaderScan.h"
#include "HttpHead.h"

namespace {

using namespace LumVoxMsg;
using Result = HeaderScan::Result;

struct Scanned {
    Result result = Result::NeedMore;
    std::size_t used = 0;
    bool operator==(const Scanned&) const = default;
};

/// Feeds the bytes in pieces.
Scanned Scan(std::string_view bytes, std::size_t piece) {
    HeaderScan scan;
    Scanned all;
    while (all.used < bytes.size() && all.result == Result::NeedMore) {
        std::size_t used = 0;
        all.result = scan.Feed(bytes.substr(all.used, piece), used);
        all.used += used;
    }
    return all;
}

std::string_view TakeUntil(std::string_view& text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    if (at == text.npos) std::abort();  // the scan has seen that it is there
    const std::string_view taken = text.substr(0, at);
    text.remove_prefix(at + mark.size());
    return taken;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

HttpHead Split(std::string_view header) {
    HttpHead head;
    std::string_view line = TakeUntil(header, "\r\n");
    head.method = line.substr(0, line.find(' '));
    line.remove_prefix(head.method.size());
    head.target = Trimmed(line.substr(0, line.rfind(' ')));
    head.version = line.ends_with("HTTP/1.0") ? 10 : 11;
    while (header != "\r\n") {
        std::string_view field = TakeUntil(header, "\r\n");
        const std::string_view name = TakeUntil(field, ":");
        if (name.empty() || name.find_first_of(" \t\r\n") != name.npos) std::abort();
        head.fields.push_back({name, Trimmed(field)});
    }
    return head;
}

void Check(const HttpHead& head) {
    for (const HttpField& field : head.fields) {
        if (field.value.find_first_of(std::string_view("\r\n\0", 3)) != field.value.npos) std::abort();
        if (head.Count(field.name) < 1) std::abort();
    }
    const HttpRefusal refusal = CheckHead(head);
    // Two ways to frame the body, and two hosts, never pass.
    const bool doubtful = head.Count("content-length") + head.Count("TRANSFER-ENCODING") > 1 || head.Count("host") > 1;
    if (doubtful && refusal.status == 0) std::abort();
    ExpectsContinue(head);
    std::string_view query;
    if (SplitTarget(head.target, query).empty()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const Scanned whole = Scan(bytes, size + 1);
    for (const std::size_t piece : {1, 3, 17}) {
        if (!(Scan(bytes, piece) == whole)) std::abort();
    }
    if (whole.result != Result::Complete) return 0;
    if (!bytes.substr(0, whole.used).ends_with("\r\n\r\n")) std::abort();
    Check(Split(bytes.substr(0, whole.used)));
    return 0;
}
