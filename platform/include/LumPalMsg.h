/// @file
/// Messages with catalogue numbers, and the exceptions that carry them.
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalMsg {

enum class Severity_e { None, Info, Warning, Error };

/// Bits that select what a rendering shows.
///
/// BareText alone (16) is the text for user output. Text shows the text as one item of a list:
/// with Details, every level below it follows, each detail on a line of its own, indented by
/// two blanks for each level (the further lines of a text that has some, too). So 36 is text and details, 37 the same
/// with a severity label before each text.
enum FormatFlags_e : unsigned {
    Label = 1,      ///< "ERROR: ", "WARNING: ", "INFO: " before the text
    Id = 2,         ///< "(catalogue-id) " before the text, where it has a number
    Details = 4,    ///< subordinate messages of every level
    Time = 8,       ///< the local time of the rendering, ISO 8601 with offset, before everything else
    BareText = 16,  ///< only the text itself
    Text = 32       ///< the text
};

/// A catalogue of localised texts by number, named as NLSPATH's %N; opened at the first look-up,
/// read-only afterwards, safe from any thread. See catopen(3), POSIX.1-2017; set 1 is used.
/// The texts of a catalogue are UTF-8, whatever the locale. The category LC_MESSAGES of the
/// process's locale stands for NLSPATH's %L.
class LUMPAL_API MessageCatalog_t {
public:
    explicit MessageCatalog_t(const char* name);
    const LumPalStr::String_t& GetName() const noexcept;
    /// The catalogue's text for the number; the default text when there is none or it is empty.
    LumPalStr::String_t GetText(unsigned id, const LumPalStr::String_t& defaultText) const;

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

class MessageList_t;

/// One message: severity, number, text with %1, %2 and so on, arguments, details.
/// A value (copies share until one changes). The catalogue is asked when the text is wanted.
///
/// The holes %1 to %99 are filled in one pass, so that an argument that holds "%2" stays as it
/// is. A hole without an argument, and a percent sign that begins no hole, stay as they stand.
class LUMPAL_API Message_t {
public:
    /// An empty message: no text, no severity, number 0.
    Message_t();
    Message_t(const Message_t&) = default;  // declared, so that no move leaves one without content
    Message_t& operator=(const Message_t&) = default;
    /// Catalogue number; 0 for a message with a plain text.
    unsigned GetId() const noexcept;
    Severity_e GetSeverity() const noexcept;
    MessageList_t GetDetails() const;
    /// Rendering by FormatFlags_e bits.
    LumPalStr::String_t Format(unsigned flags) const;
    /// The text with its arguments, without label; details only with the Details bit.
    LumPalStr::String_t GetMessageText(unsigned flags = BareText) const;
    /// Format(BareText).
    operator LumPalStr::String_t() const;
    void AddDetails(const Message_t& detail);
    void AddDetails(const MessageList_t& details);

protected:
    struct Impl;
    friend class MessageList_t;
    /// A copy of the content that nobody else sees, to be changed.
    Impl& Own();
    std::shared_ptr<const Impl> impl;
};

/// An ordered list of messages. A value.
class LUMPAL_API MessageList_t {
public:
    MessageList_t();
    MessageList_t(const Message_t& message);
    void Add(const Message_t& message);
    void Add(const MessageList_t& messages);
    void Clear();
    int GetMessageCount() const noexcept;
    /// @throws IllegalArgumentError_t for an index that is not there.
    Message_t GetMessage(int index) const;
    /// Each message by Message_t::Format, parted by line feeds; none behind the last.
    LumPalStr::String_t Format(unsigned flags) const;
    /// Format(BareText).
    operator LumPalStr::String_t() const;

private:
    std::vector<Message_t> messages;
};

/// Builds a message: construct, then stream the arguments in the order %1, %2 and so on.
class LUMPAL_API CreateMessage_t : public Message_t {
public:
    CreateMessage_t();
    explicit CreateMessage_t(const LumPalStr::String_t& text, Severity_e severity = Severity_e::None);
    CreateMessage_t(const MessageCatalog_t& catalog, unsigned id, const LumPalStr::String_t& defaultText,
                    Severity_e severity = Severity_e::None);
    CreateMessage_t& operator<<(const LumPalStr::String_t& argument);
    CreateMessage_t& operator<<(const char* ascii);
    CreateMessage_t& operator<<(int argument);
    CreateMessage_t& operator<<(unsigned argument);
    CreateMessage_t& AddDetails(const Message_t& detail);
    CreateMessage_t& AddDetails(const MessageList_t& details);
};

class LUMPAL_API CreateError_t : public CreateMessage_t {
public:
    CreateError_t() = default;
    explicit CreateError_t(const LumPalStr::String_t& text) : CreateMessage_t(text, Severity_e::Error) {}
    CreateError_t(const MessageCatalog_t& c, unsigned id, const LumPalStr::String_t& text)
        : CreateMessage_t(c, id, text, Severity_e::Error) {}
};
class LUMPAL_API CreateWarn_t : public CreateMessage_t {
public:
    CreateWarn_t() = default;
    explicit CreateWarn_t(const LumPalStr::String_t& text) : CreateMessage_t(text, Severity_e::Warning) {}
    CreateWarn_t(const MessageCatalog_t& c, unsigned id, const LumPalStr::String_t& text)
        : CreateMessage_t(c, id, text, Severity_e::Warning) {}
};
class LUMPAL_API CreateInfo_t : public CreateMessage_t {
public:
    CreateInfo_t() = default;
    explicit CreateInfo_t(const LumPalStr::String_t& text) : CreateMessage_t(text, Severity_e::Info) {}
    CreateInfo_t(const MessageCatalog_t& c, unsigned id, const LumPalStr::String_t& text)
        : CreateMessage_t(c, id, text, Severity_e::Info) {}
};

/// Root of every failure of the system. what() is Format(Text | Details) in UTF-8.
/// Copies share their content, which never changes; any thread.
class LUMPAL_API Exception_t : public std::exception {
public:
    explicit Exception_t(const Message_t& message);
    explicit Exception_t(const MessageList_t& messages);
    ~Exception_t() override;
    const MessageList_t& GetMessageList() const noexcept;
    operator MessageList_t() const { return GetMessageList(); }
    const char* what() const noexcept override;

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

/// Declares an exception class that only passes its message, or its list, to the base.
#define LUMPAL_DECLARE_EXCEPTION(api, Name, Base)                                   \
    class api Name : public Base {                                                  \
    public:                                                                         \
        explicit Name(const LumPalMsg::Message_t& message) : Base(message) {}       \
        explicit Name(const LumPalMsg::MessageList_t& messages) : Base(messages) {} \
        ~Name() override;                                                           \
    }
/// Stands once, in a source file, for each declared class (the key function of its type data).
#define LUMPAL_DEFINE_EXCEPTION(Name) Name::~Name() = default

LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, RuntimeException_t, Exception_t);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, LogicError_t, RuntimeException_t);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, IllegalArgumentError_t, LogicError_t);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, IllegalStateError_t, LogicError_t);

}  // namespace LumPalMsg
