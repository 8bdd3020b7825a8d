/// @file
/// Certificates whose time runs out.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "LumPalStr.h"
#include "LumSecCore.h"

namespace lumconfd {

/// Says in the application log which of the node's certificates end soon: a warning when 30, 7 and 1 days are left,
/// each once, and an error when it has ended. A certificate met when several of these have passed is logged once.
/// It looks at those that the node shows, with the chain behind its own, and at those that it trusts. Used by one
/// thread.
class Expiry {
public:
    /// Seconds since 1970-01-01T00:00:00Z.
    using Clock = std::function<std::int64_t()>;

    explicit Expiry(Clock now);
    /// Reads the certificates and says what has to be said. A file that cannot be read stands for what it held before,
    /// as the server goes on with that too. Does not throw.
    void Look();

private:
    struct Entry {
        std::string kind;  ///< "own" or "trusted"
        std::vector<LumSecCore::X509Certificate> certificates;
    };

    void Read();
    void ReadFile(const std::string& kind, const LumPalStr::String_t& path, std::map<std::string, Entry>& next);
    void Tell(const std::string& path, const Entry& entry, const LumSecCore::X509Certificate& certificate,
              std::map<std::string, int>& next);

    const Clock now;
    std::map<std::string, Entry> entries;  ///< by path
    std::map<std::string, int> told;       ///< by path and encoded certificate: the days of what was said last
};

}  // namespace lumconfd
