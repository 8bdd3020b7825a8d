#include "HttpLimits.h"

#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <optional>

#include "LocalSecret.h"
#include "LumPalKeys.h"
#include "LumPalLog.h"
#include "LumVoxMsg.h"

namespace LumVoxMsg {

using namespace LumPalKeys;
using LumPalConfig::Configuration_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

namespace {

std::optional<std::uint64_t> ToNumber(const String_t& text) {
    const std::string digits = text.ToUtf8();
    std::uint64_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value);
    return result.ec == std::errc() && result.ptr == end && !digits.empty() ? std::optional(value) : std::nullopt;
}

/// A configuration, and what was found wrong in it.
struct Checked {
    const Configuration_t& values;
    MessageList_t wrong;

    void Warn(const char* key, const String_t& text, const String_t& taken) {
        wrong.Add(LumPalMsg::CreateWarn_t("'%1' is no value for '%2' in '%3'; '%4' is taken.")
                  << text << key << values.GetNamespace() << taken);
    }
};

/// The key's value, or the default with a warning when it is no number in the bounds.
std::uint64_t Number(Checked& configuration, const char* key, std::uint64_t least, std::uint64_t most,
                     std::uint64_t standard) {
    if (!configuration.values.HasAttr(key)) return standard;
    String_t text = configuration.values.GetValue(key);
    const std::optional<std::uint64_t> value = ToNumber(text.Trim());
    if (value && *value >= least && *value <= most) return *value;
    configuration.Warn(key, text, LumPalStr::NumToStr(static_cast<unsigned long long>(standard)));
    return standard;
}

void Count(Checked& configuration, const char* key, unsigned least, unsigned most, unsigned& target) {
    target = static_cast<unsigned>(Number(configuration, key, least, most, target));
}

void Bytes(Checked& configuration, const char* key, std::uint64_t least, std::uint64_t most, std::uint64_t& target) {
    target = Number(configuration, key, least, most, target);
}

void Time(Checked& configuration, const char* key, std::chrono::milliseconds& target) {
    target =
        std::chrono::milliseconds(Number(configuration, key, 100, 3600000, static_cast<std::uint64_t>(target.count())));
}

String_t Address(Checked& configuration) {
    String_t text = configuration.values.GetValue(BindAddressKey);
    boost::system::error_code error;
    if (!text.Trim().IsEmpty()) boost::asio::ip::make_address(text.ToUtf8(), error);
    if (!error) return text;
    configuration.Warn(BindAddressKey, text, kLoopbackAddress);
    return kLoopbackAddress;
}

HttpLimits Read(Checked& configuration) {
    HttpLimits limits;
    Count(configuration, ServerPortKey, 0, 65535, limits.port);
    limits.bindAddress = Address(configuration);
    Count(configuration, IoThreadsKey, 1, 64, limits.ioThreads);
    Count(configuration, WorkerThreadsKey, 1, 256, limits.workerThreads);
    Bytes(configuration, HeaderLimitKey, 1024, 1u << 20, limits.headerBytes);
    Bytes(configuration, BodyLimitKey, 1024, (1u << 31) - 1, limits.bodyBytes);
    Bytes(configuration, BodyTotalLimitKey, 1u << 20, std::uint64_t{1} << 40, limits.allBodiesBytes);
    Count(configuration, MaxConnectionsKey, 1, 1000000, limits.connections);
    Count(configuration, MaxAddressConnectionsKey, 1, 1000000, limits.addressConnections);
    Time(configuration, HandshakeTimeoutKey, limits.handshakeTime);
    Time(configuration, HeaderTimeoutKey, limits.headerTime);
    Time(configuration, BodyTimeoutKey, limits.bodyTime);
    Time(configuration, IdleTimeoutKey, limits.idleTime);
    Time(configuration, WriteTimeoutKey, limits.writeTime);
    Time(configuration, CloseTimeoutKey, limits.closeTime);
    Bytes(configuration, MinRateKey, 1, 1u << 30, limits.bytesPerSecond);
    if (configuration.values.HasAttr(LocalSecretHeaderKey))
        limits.secretHeader = configuration.values.GetBool(LocalSecretHeaderKey);
    return limits;
}

}  // namespace

HttpLimits HttpLimits::Load(const Configuration_t& configuration) {
    Checked checked{configuration, {}};
    const HttpLimits limits = Read(checked);
    for (int i = 0; i < checked.wrong.GetMessageCount(); ++i) LumPalLog::Log(checked.wrong.GetMessage(i));
    return limits;
}

LumPalMsg::MessageList_t FindWrongLimits(const Configuration_t& configuration) {
    Checked checked{configuration, {}};
    Read(checked);
    return checked.wrong;
}

std::uint64_t LargestBody(const Configuration_t& configuration) {
    Checked checked{configuration, {}};
    return Read(checked).bodyBytes;
}

bool HttpLimits::IsLoopback(const String_t& address) {
    boost::system::error_code error;
    return boost::asio::ip::make_address(address.ToUtf8(), error).is_loopback() && !error;
}

}  // namespace LumVoxMsg
