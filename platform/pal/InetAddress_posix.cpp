// InetAddress_t of LumPalNet.h.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "LumPalNet.h"
#include "SystemError.h"

namespace LumPalNet {

using LumPalStr::String_t;

namespace {

/// An address of either family in the form of IPv6, so that "::ffff:a.b.c.d" equals "a.b.c.d".
using Bytes = std::array<unsigned char, 16>;
using Addresses = std::vector<Bytes>;

constexpr Bytes kMapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
constexpr std::size_t kMappedPrefix = 12;
constexpr Bytes kLoopback6{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

void AddAddress(Addresses& all, const sockaddr* address) {
    if (!address) return;
    Bytes bytes = kMapped;
    if (address->sa_family == AF_INET) {
        const auto* const v4 = reinterpret_cast<const sockaddr_in*>(address);
        std::memcpy(bytes.data() + kMappedPrefix, &v4->sin_addr, sizeof v4->sin_addr);
    } else if (address->sa_family == AF_INET6) {
        const auto* const v6 = reinterpret_cast<const sockaddr_in6*>(address);
        std::memcpy(bytes.data(), &v6->sin6_addr, sizeof v6->sin6_addr);
    } else {
        return;
    }
    all.push_back(bytes);
}

bool IsLoopbackBytes(const Bytes& bytes) {
    const bool isV4 = std::equal(bytes.begin(), bytes.begin() + kMappedPrefix, kMapped.begin());
    return bytes == kLoopback6 || (isV4 && bytes[kMappedPrefix] == 127);
}

Addresses OwnAddresses() {
    Addresses own;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return own;
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) AddAddress(own, entry->ifa_addr);
    freeifaddrs(list);
    return own;
}

bool HaveCommon(const Addresses& a, const Addresses& b) {
    return std::any_of(a.begin(), a.end(), [&](const Bytes& x) { return std::find(b.begin(), b.end(), x) != b.end(); });
}

[[noreturn]] void FailToResolve(const String_t& name, const String_t& reason) {
    throw ConnectException_t(LumPalMsg::CreateError_t("The host name '%1' can not be resolved: %2.") << name << reason);
}

Addresses Resolve(const String_t& name) {
    const std::string bytes = name.ToUtf8();
    if (bytes.empty() || bytes.find('\0') != bytes.npos) FailToResolve(name, "it is no name");
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int error = getaddrinfo(bytes.c_str(), nullptr, &hints, &list);
    if (error == EAI_SYSTEM) FailToResolve(name, LumPalIo::SystemErrorText(errno));
    if (error != 0) FailToResolve(name, String_t::FromUtf8(gai_strerror(error)));
    Addresses found;
    for (const addrinfo* entry = list; entry; entry = entry->ai_next) AddAddress(found, entry->ai_addr);
    freeaddrinfo(list);
    return found;
}

String_t OwnName() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return *name ? String_t::FromUtf8(name) : String_t("localhost");
}

}  // namespace

struct InetAddress_t::Impl {
    /// Whether one of the addresses leads to this host.
    bool IsHere(const Addresses& own) const {
        return std::any_of(addresses.begin(), addresses.end(), IsLoopbackBytes) || HaveCommon(addresses, own);
    }
    String_t name;
    Addresses addresses;
};

InetAddress_t::InetAddress_t(std::shared_ptr<const Impl> impl) : impl(std::move(impl)) {}

InetAddress_t::InetAddress_t(const String_t& name) : impl(std::make_shared<const Impl>(Impl{name, Resolve(name)})) {}

InetAddress_t InetAddress_t::GetLocalHost() {
    Addresses own = OwnAddresses();
    if (own.empty()) own.push_back(kLoopback6);
    return InetAddress_t(std::make_shared<const Impl>(Impl{OwnName(), std::move(own)}));
}

String_t InetAddress_t::GetHostName() const {
    return impl->name;
}

bool InetAddress_t::IsLoopback() const {
    return std::all_of(impl->addresses.begin(), impl->addresses.end(), IsLoopbackBytes);
}

bool operator==(const InetAddress_t& a, const InetAddress_t& b) {
    if (HaveCommon(a.impl->addresses, b.impl->addresses)) return true;
    const Addresses own = OwnAddresses();
    return a.impl->IsHere(own) && b.impl->IsHere(own);
}

}  // namespace LumPalNet
