// Exception_t and those derived from it, of LumPalMsg.h.
#include <mutex>

#include "LumPalMsg.h"

namespace LumPalMsg {

struct Exception_t::Impl {
    explicit Impl(const MessageList_t& messages) : messages(messages) {}
    const char* What() {
        std::call_once(rendered, [this] { text = messages.Format(Text | Details).ToUtf8(); });
        return text.c_str();
    }

    const MessageList_t messages;
    std::once_flag rendered;
    std::string text;
};

Exception_t::Exception_t(const Message_t& message) : Exception_t(MessageList_t(message)) {}

Exception_t::Exception_t(const MessageList_t& messages) : impl(std::make_shared<Impl>(messages)) {}

Exception_t::~Exception_t() = default;

const MessageList_t& Exception_t::GetMessageList() const noexcept {
    return impl->messages;
}

const char* Exception_t::what() const noexcept {
    try {
        return impl->What();
    } catch (...) {
        return "a failure whose text could not be built";
    }
}

LUMPAL_DEFINE_EXCEPTION(RuntimeException_t);
LUMPAL_DEFINE_EXCEPTION(LogicError_t);
LUMPAL_DEFINE_EXCEPTION(IllegalArgumentError_t);
LUMPAL_DEFINE_EXCEPTION(IllegalStateError_t);

}  // namespace LumPalMsg
