// MessageCatalog_t of LumPalMsg.h, by catgets(3).
#include <nl_types.h>

#include <limits>
#include <mutex>

#include "LumPalMsg.h"

namespace LumPalMsg {

using LumPalStr::String_t;

struct MessageCatalog_t::Impl {
    explicit Impl(const char* name) : name(name), fileName(name ? name : "") {}
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() {
        if (IsOpen()) catclose(catalog);
    }
    bool IsOpen() const noexcept { return catalog != reinterpret_cast<nl_catd>(-1); }
    void Open() {
        std::call_once(opened, [this] { catalog = catopen(fileName.c_str(), NL_CAT_LOCALE); });
    }

    const String_t name;
    const std::string fileName;
    std::once_flag opened;
    nl_catd catalog = reinterpret_cast<nl_catd>(-1);
};

MessageCatalog_t::MessageCatalog_t(const char* name) : impl(std::make_shared<Impl>(name)) {}

const String_t& MessageCatalog_t::GetName() const noexcept {
    return impl->name;
}

String_t MessageCatalog_t::GetText(unsigned id, const String_t& defaultText) const {
    impl->Open();
    if (!impl->IsOpen() || id > static_cast<unsigned>(std::numeric_limits<int>::max())) return defaultText;
    static const char kNone[] = "";
    const char* const text = catgets(impl->catalog, 1, static_cast<int>(id), kNone);
    return *text ? String_t::FromUtf8(text) : defaultText;
}

}  // namespace LumPalMsg
