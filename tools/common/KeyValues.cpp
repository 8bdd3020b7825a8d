#include "common/KeyValues.h"

#include <algorithm>
#include <sstream>

#include "LumPalMsg.h"
#include "LumPalNet.h"

namespace lumtools {

using LumPalStr::String_t;

namespace {

// Room for the suffix of the file that is written aside, in the 255 bytes that a name may have.
constexpr std::size_t kMostNameBytes = 251;

bool IsControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7f;
}

/// Control characters and those that separate lines, in UTF-8.
bool HoldsControl(const std::string& text) {
    if (std::any_of(text.begin(), text.end(), IsControl)) return true;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == '\xc2' && static_cast<unsigned char>(text[i + 1]) < 0xa0) return true;
    }
    return text.find("\xe2\x80\xa8") != std::string::npos || text.find("\xe2\x80\xa9") != std::string::npos;
}

}  // namespace

bool IsFileName(const std::string& name) {
    return !name.empty() && name.size() <= kMostNameBytes && name != "." && name != ".." &&
           name.find_first_of("/\\") == std::string::npos && !HoldsControl(name);
}

std::vector<std::string> HostsIn(const String_t& text) {
    std::istringstream stream(text.ToUtf8());
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
    }
    return words;
}

long NumberIn(const String_t& value) {
    const std::string text = value.ToUtf8();
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return -1;
    return text.size() > 9 ? kMostWaitSeconds + 1 : std::stol(text);
}

bool IsServerName(const std::string& host) {
    try {
        const LumPalNet::URI_t uri(String_t::FromUtf8("https://" + host));
        return uri.GetPath().IsEmpty() && uri.GetQuery().IsNull();
    } catch (const LumPalMsg::Exception_t&) {
        return false;
    }
}

const char* WantedListName(const String_t& value) {
    return value.IsEmpty() || IsFileName(value.ToUtf8()) ? nullptr : "a plain file name of at most 251 bytes";
}

const char* WantedServers(const String_t& value) {
    const std::vector<std::string> words = HostsIn(value);
    const bool good = words.size() <= kMostServers && std::all_of(words.begin(), words.end(), IsServerName);
    return good ? nullptr : "at most 16 hosts (host or host:port) with blanks between them";
}

const char* WantedWaitTime(const String_t& value) {
    const long seconds = NumberIn(value);
    return seconds >= 1 && seconds <= kMostWaitSeconds ? nullptr : "seconds from 1 to 86400";
}

}  // namespace lumtools
