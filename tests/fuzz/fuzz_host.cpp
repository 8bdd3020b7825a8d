// Any text as a field Host and as the host of a request's target: both are judged alike; what passes holds nothing that
// ends a host; the node's own is what names the node, whatever stands in front of it or behind it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "HttpHead.h"
#include "LocalCallers.h"

namespace {

using namespace LumVoxMsg;

bool IsServed(std::string_view target, std::string_view host) {
    const HttpHead head{"GET", target, 11, {{"Host", host}}};
    return CheckHead(head).status == 0;
}

void CheckParts(std::string_view text) {
    if (!IsHost(text)) return;
    if (text.empty() || text.find_first_of(std::string_view("/?#@\\ \t\r\n\"<>\0", 13)) != text.npos) std::abort();
    const std::string_view name = HostName(text);
    if (name.empty() || text.find(name) == text.npos) std::abort();
    const std::string longer = std::string(text) + "x.example";
    if (IsLocalHost(longer, "node-7") && HostName(longer) == longer) std::abort();
}

/// What a target names is judged as what the field names.
void CheckTarget(std::string_view text) {
    const std::string target = "http://" + std::string(text);
    const std::optional<std::string_view> named = TargetHost(target);
    if (!named || text.substr(0, named->size()) != *named) std::abort();
    if (IsServed(target, "localhost") != IsHost(*named)) std::abort();
    if (IsServed("/", text) != IsHost(text)) std::abort();
    std::string_view query;
    if (!SplitTarget(target, query).starts_with("/")) {
        // A query alone: the path is empty, and stands for "/".
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckParts(text);
    CheckTarget(text);
    IsLocalHost(text, "node-7");
    return 0;
}
