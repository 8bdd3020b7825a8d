// Message_t, MessageList_t and what creates them, of LumPalMsg.h.
#include <chrono>
#include <optional>

#include "LocalTime.h"
#include "LumPalMsg.h"
#include "MessageFormat.h"

namespace LumPalMsg {

using LumPalStr::String_t;

struct Message_t::Impl {
    String_t Text() const { return FillHoles(catalog ? catalog->GetText(id, text) : text, arguments); }

    std::optional<MessageCatalog_t> catalog;
    unsigned id = 0;
    Severity_e severity = Severity_e::None;
    String_t text;
    std::vector<String_t> arguments;
    MessageList_t details;
};

namespace {

const char* LabelOf(Severity_e severity) noexcept {
    switch (severity) {
        case Severity_e::None:
            return "";
        case Severity_e::Info:
            return "INFO: ";
        case Severity_e::Warning:
            return "WARNING: ";
        case Severity_e::Error:
            return "ERROR: ";
    }
    return "";
}

String_t Now() {
    return String_t(LumPal::LocalTimeText(std::chrono::system_clock::now()).c_str());
}

void AppendDetails(String_t& out, const Message_t& message, unsigned flags, int level) {
    const MessageList_t details = message.GetDetails();
    for (int i = 0; i < details.GetMessageCount(); ++i) {
        const Message_t detail = details.GetMessage(i);
        out += "\n";
        out += Indent(detail.Format(flags & ~unsigned{Details | Time}), level);
        AppendDetails(out, detail, flags, level + 1);
    }
}

}  // namespace

Message_t::Message_t() {
    // never destroyed: threads make messages to the end
    static const auto& kEmpty = *new std::shared_ptr<const Impl>(std::make_shared<const Impl>());
    impl = kEmpty;
}

unsigned Message_t::GetId() const noexcept {
    return impl->id;
}

Severity_e Message_t::GetSeverity() const noexcept {
    return impl->severity;
}

MessageList_t Message_t::GetDetails() const {
    return impl->details;
}

String_t Message_t::Format(unsigned flags) const {
    String_t out;
    if (flags & Time) out += Now() + " ";
    if (flags & Label) out += LabelOf(impl->severity);
    if ((flags & Id) && impl->catalog) {
        out += "(" + impl->catalog->GetName() + "-" + LumPalStr::NumToStr(impl->id) + ") ";
    }
    if (flags & (Text | BareText)) out += impl->Text();
    if (flags & Details) AppendDetails(out, *this, flags, 1);
    return out;
}

String_t Message_t::GetMessageText(unsigned flags) const {
    return Format((flags & Details) | BareText);
}

Message_t::operator String_t() const {
    return Format(BareText);
}

Message_t::Impl& Message_t::Own() {
    auto own = std::make_shared<Impl>(*impl);
    impl = own;
    return *own;
}

void Message_t::AddDetails(const Message_t& detail) {
    AddDetails(MessageList_t(detail));
}

void Message_t::AddDetails(const MessageList_t& details) {
    Own().details.Add(details);
}

MessageList_t::MessageList_t() = default;

MessageList_t::MessageList_t(const Message_t& message) : messages{message} {}

void MessageList_t::Add(const Message_t& message) {
    messages.push_back(message);
}

void MessageList_t::Add(const MessageList_t& other) {
    const std::vector<Message_t> added = other.messages;  // a list may be added to itself
    messages.insert(messages.end(), added.begin(), added.end());
}

void MessageList_t::Clear() {
    messages.clear();
}

int MessageList_t::GetMessageCount() const noexcept {
    return static_cast<int>(messages.size());
}

Message_t MessageList_t::GetMessage(int index) const {
    if (index < 0 || index >= GetMessageCount()) {
        throw IllegalArgumentError_t(CreateError_t("The message list has no message with index '%1'.") << index);
    }
    return messages[static_cast<std::size_t>(index)];
}

String_t MessageList_t::Format(unsigned flags) const {
    String_t out;
    for (const Message_t& message : messages) {
        if (&message != &messages.front()) out += "\n";
        out += message.Format(flags);
    }
    return out;
}

MessageList_t::operator String_t() const {
    return Format(BareText);
}

CreateMessage_t::CreateMessage_t() = default;

CreateMessage_t::CreateMessage_t(const String_t& text, Severity_e severity) {
    Impl& own = Own();
    own.text = text;
    own.severity = severity;
}

CreateMessage_t::CreateMessage_t(const MessageCatalog_t& catalog, unsigned id, const String_t& defaultText,
                                 Severity_e severity) {
    Impl& own = Own();
    own.catalog = catalog;
    own.id = id;
    own.text = defaultText;
    own.severity = severity;
}

CreateMessage_t& CreateMessage_t::operator<<(const String_t& argument) {
    Own().arguments.push_back(argument);
    return *this;
}

CreateMessage_t& CreateMessage_t::operator<<(const char* ascii) {
    return *this << String_t(ascii);
}

CreateMessage_t& CreateMessage_t::operator<<(int argument) {
    return *this << LumPalStr::NumToStr(argument);
}

CreateMessage_t& CreateMessage_t::operator<<(unsigned argument) {
    return *this << LumPalStr::NumToStr(argument);
}

CreateMessage_t& CreateMessage_t::AddDetails(const Message_t& detail) {
    Message_t::AddDetails(detail);
    return *this;
}

CreateMessage_t& CreateMessage_t::AddDetails(const MessageList_t& details) {
    Message_t::AddDetails(details);
    return *this;
}

}  // namespace LumPalMsg
