#include "lumconfd/DaemonKeys.h"

#include <algorithm>
#include <sstream>
#include <tuple>

#include "ConfBase.h"
#include "LumPalMsg.h"
#include "LumPalNet.h"

namespace lumconfd {

using LumConf::ConfBase;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;

namespace {

constexpr std::size_t kMostServers = 16;
constexpr long kMostWaitSeconds = 86400;
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

bool IsFileName(const std::string& name) {
    return !name.empty() && name.size() <= kMostNameBytes && name != "." && name != ".." &&
           name.find_first_of("/\\") == std::string::npos && !HoldsControl(name);
}

std::vector<std::string> Words(const String_t& text) {
    std::istringstream stream(text.ToUtf8());
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
    }
    return words;
}

/// -1 for what is no number; the most that is taken for more.
long Number(const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return -1;
    return text.size() > 9 ? kMostWaitSeconds + 1 : std::stol(text);
}

std::chrono::seconds WaitTimeOf(const String_t& text, std::chrono::seconds otherwise) {
    const long seconds = Number(text.ToUtf8());
    return seconds < 1 ? otherwise : std::chrono::seconds(std::min(seconds, kMostWaitSeconds));
}

auto Tied(const DaemonKeys& keys) {
    return std::tie(keys.formatPolicyList, keys.listName, keys.servers, keys.locateServer, keys.waitTime);
}

}  // namespace

DaemonKeys DaemonKeys::Read(const Configuration_t& configuration) {
    DaemonKeys keys;
    keys.formatPolicyList = configuration.GetBool(ConfBase::Get_g_FormatPolicyListKey());
    const String_t name = configuration.GetAttrValue(ConfBase::Get_g_MergedPolicyListFilenameKey());
    keys.listName = IsFileName(name.ToUtf8()) ? name : String_t(ConfBase::Get_g_DumpFilename());
    keys.servers = Words(configuration.GetAttrValue(ConfBase::Get_s_lumconfdPingServer()));
    keys.servers.resize(std::min(keys.servers.size(), kMostServers));
    keys.locateServer = configuration.GetBool(ConfBase::Get_s_lumconfdLocateServer());
    keys.waitTime = WaitTimeOf(configuration.GetAttrValue(ConfBase::Get_s_lumconfdWaitTime()), keys.waitTime);
    return keys;
}

bool DaemonKeys::operator==(const DaemonKeys& other) const {
    return Tied(*this) == Tied(other);
}

bool IsHost(const std::string& host) {
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
    const std::vector<std::string> words = Words(value);
    const bool good = words.size() <= kMostServers && std::all_of(words.begin(), words.end(), IsHost);
    return good ? nullptr : "at most 16 hosts (host or host:port) with blanks between them";
}

const char* WantedWaitTime(const String_t& value) {
    const long seconds = Number(value.ToUtf8());
    return seconds >= 1 && seconds <= kMostWaitSeconds ? nullptr : "seconds from 1 to 86400";
}

LiveKeys::LiveKeys(std::function<void()> whenChanged)
    : nameSpace(ConfBase::Get_NS_ConfServer()), changed(std::move(whenChanged)) {
    // A change that comes meanwhile waits for the mutex, so that no old value stands over a newer one.
    LumPalThread::PlainLock_t lock(mutex);
    nameSpace.Register(*this);
    try {
        keys = DaemonKeys::Read(nameSpace.Open());
    } catch (...) {
        lock.Unlock();  // to unsubscribe waits for a call in flight
        nameSpace.Unregister(*this);
        throw;
    }
}

LiveKeys::~LiveKeys() {
    nameSpace.Unregister(*this);
}

DaemonKeys LiveKeys::Get() const {
    const LumPalThread::PlainLock_t lock(mutex);
    return keys;
}

void LiveKeys::Update(const LumPalConfig::ChangedConfiguration_t&, const Configuration_t& configuration) {
    DaemonKeys now = DaemonKeys::Read(configuration);
    {
        const LumPalThread::PlainLock_t lock(mutex);
        if (now == keys) return;
        keys = std::move(now);
    }
    changed();
}

}  // namespace lumconfd
