// URI_t of LumPalNet.h.
#include <string_view>

#include "IPv6Literal.h"
#include "LumPalNet.h"

namespace LumPalNet {

using LumPalStr::String_t;
using View = std::u16string_view;

namespace {

constexpr unsigned kMaxPort = 65535;
constexpr std::size_t kMaxPortDigits = 5;

bool IsIn(View set, char16_t unit) noexcept {
    return set.find(unit) != View::npos;
}
bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}
bool IsLetter(char16_t unit) noexcept {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}
bool IsHex(char16_t unit) noexcept {
    return IsDigit(unit) || IsIn(u"abcdefABCDEF", unit);
}
bool IsSchemeUnit(char16_t unit) noexcept {
    return IsLetter(unit) || IsDigit(unit) || IsIn(u"+-.", unit);
}
bool IsHostUnit(char16_t unit) noexcept {
    return IsLetter(unit) || IsDigit(unit) || IsIn(u"-._", unit);
}
bool IsPathUnit(char16_t unit) noexcept {
    return IsHostUnit(unit) || IsIn(u"~!$&'()*+,;=:@/", unit);
}
bool IsQueryUnit(char16_t unit) noexcept {
    return IsPathUnit(unit) || unit == u'?';
}

template <class Test>
bool All(View text, Test test) {
    for (const char16_t unit : text) {
        if (!test(unit)) return false;
    }
    return true;
}

/// Units of a set, and percent escapes.
template <class Test>
bool AllEscaped(View text, Test test) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'%') {
            if (text.size() - i < 3 || !IsHex(text[i + 1]) || !IsHex(text[i + 2])) return false;
            i += 2;
        } else if (!test(text[i])) {
            return false;
        }
    }
    return true;
}

String_t Copy(View text) {
    return {text.data(), static_cast<std::uint32_t>(text.size())};
}

/// Cuts an address from the left; each step throws the reason when its part is wrong.
struct Cutter {
    View TakeScheme() {
        const std::size_t end = rest.find(u"://");
        if (end == View::npos) throw "a scheme and \"://\" must come first";
        const View scheme = Take(end);
        if (scheme.empty() || !IsLetter(scheme[0]) || !All(scheme, IsSchemeUnit)) throw "the scheme is malformed";
        rest.remove_prefix(3);
        return scheme;
    }
    View TakeHost() {
        if (!rest.empty() && rest[0] == u'[') return TakeIPv6();
        const View host = Take(rest.find_first_of(u":/?#"));
        if (host.empty() || !All(host, IsHostUnit)) throw "the host is malformed";
        return host;
    }
    View TakeIPv6() {
        rest.remove_prefix(1);
        const View host = Take(rest.find(u']'));
        if (rest.empty() || !IsIPv6Literal(host)) throw "the IPv6 address is malformed";
        rest.remove_prefix(1);
        return host;
    }
    unsigned TakePort() {
        if (rest.empty() || rest[0] != u':') return 0;
        rest.remove_prefix(1);
        const View digits = Take(rest.find_first_of(u"/?#"));
        if (digits.empty() || digits.size() > kMaxPortDigits || !All(digits, IsDigit)) throw "the port is malformed";
        unsigned port = 0;
        for (const char16_t digit : digits) port = port * 10 + (digit - u'0');
        if (port == 0 || port > kMaxPort) throw "the port is out of range";
        return port;
    }
    View TakePath() {
        if (!rest.empty() && !IsIn(u"/?#", rest[0])) throw "a path must begin with \"/\"";
        const View path = Take(rest.find_first_of(u"?#"));
        if (!AllEscaped(path, IsPathUnit)) throw "the path is malformed";
        return path;
    }
    String_t TakeQuery() {
        if (rest.empty()) return String_t::Null();
        if (rest[0] == u'#' || !AllEscaped(rest.substr(1), IsQueryUnit)) throw "the query is malformed";
        return Copy(rest.substr(1));
    }
    View Take(std::size_t length) {
        const View part = rest.substr(0, length);
        rest.remove_prefix(part.size());
        return part;
    }

    View rest;
};

}  // namespace

URI_t::URI_t(const String_t& given) : text(given) {
    Cutter cutter{text.View()};
    try {
        scheme = Copy(cutter.TakeScheme()).ToLower();
        host = Copy(cutter.TakeHost());
        port = cutter.TakePort();
        path = Copy(cutter.TakePath());
        query = cutter.TakeQuery();
    } catch (const char* reason) {
        using namespace LumPalMsg;
        throw IllegalArgumentError_t(CreateError_t("'%1' is no target address: %2.") << text << reason);
    }
}

LUMPAL_DEFINE_EXCEPTION(ConnectException_t);
LUMPAL_DEFINE_EXCEPTION(UnansweredException_t);

}  // namespace LumPalNet
