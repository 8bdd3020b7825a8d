// RevocationList of LumSecRevoked.h.
#include <openssl/evp.h>

#include <algorithm>
#include <charconv>
#include <new>
#include <optional>

#include "LumPalFileMark.h"
#include "LumPalPlainFile.h"
#include "LumPalPlainMutex.h"
#include "LumPalWhole.h"
#include "Revoked.h"
#include "TlsIdentity.h"

namespace LumSecCore {

using LumPalIo::File_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

constexpr char kTab = '\t';
constexpr std::string_view kEnd = "end ";
constexpr std::size_t kFields = 4, kLongestField = 2048;

std::string Digest(std::string_view text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (EVP_Digest(text.data(), text.size(), digest, &length, EVP_sha256(), nullptr) != 1) throw std::bad_alloc();
    return std::string(reinterpret_cast<const char*>(digest), length);
}

/// Serial number and name as they are compared.
std::string KeyOf(const CertificateId& id) {
    std::string key = id.serial + kTab;
    for (const char c : id.issuer) {
        if (c == ' ' && key.back() == ' ') continue;
        key += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return key;
}

bool IsSerial(const std::string& text) {
    return !text.empty() && CertificateId::SerialFrom(text) == text;
}

bool IsIssuer(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return c >= 0x20 && c < 0x7F; });
}

bool IsTime(const std::string& text) {
    constexpr std::string_view form = "0000-00-00T00:00:00Z";
    const auto fits = [](char wanted, char c) { return wanted == '0' ? c >= '0' && c <= '9' : c == wanted; };
    return text.size() == form.size() && std::equal(form.begin(), form.end(), text.begin(), fits);
}

bool IsSubject(const std::string& text) {
    return !HoldsControl(text) && String_t::FromUtf8(text).ToUtf8() == text;
}

/// Null for one that is in order.
const char* WhatIsWrong(const RevocationList::Entry& entry) {
    const std::string* const fields[] = {&entry.id.serial, &entry.id.issuer, &entry.since, &entry.subject};
    if (std::any_of(std::begin(fields), std::end(fields), [](const auto* one) { return one->size() > kLongestField; }))
        return "a field is too long";
    if (!IsSerial(entry.id.serial)) return "the first field is no serial number";
    if (!IsIssuer(entry.id.issuer)) return "the second field is no name of an issuer";
    if (!IsTime(entry.since)) return "the third field is no time";
    return IsSubject(entry.subject) ? nullptr : "the fourth field is no plain text";
}

std::optional<RevocationList::Entry> EntryIn(std::string_view line) {
    std::vector<std::string> fields(1);
    for (const char c : line) {
        if (c == kTab)
            fields.emplace_back();
        else
            fields.back() += c;
        if (fields.size() > kFields) return std::nullopt;
    }
    if (fields.size() != kFields) return std::nullopt;
    return RevocationList::Entry{{fields[0], fields[1]}, fields[2], fields[3]};
}

std::string LineOf(const RevocationList::Entry& entry) {
    return entry.id.serial + kTab + entry.id.issuer + kTab + entry.since + kTab + entry.subject + '\n';
}

bool IsEnd(std::string_view line, std::size_t count) {
    return line == std::string(kEnd) + std::to_string(count);
}

[[noreturn]] void Broken(const String_t& source, std::size_t line, const char* why) {
    throw KeyStoreException(CreateError_t("The list of revoked certificates '%1' is broken in line %2: %3.")
                            << source << LumPalStr::NumToStr(static_cast<unsigned long long>(line)) << why);
}

[[noreturn]] void Unreadable(const LumPalMsg::MessageList_t& reason) {
    throw KeyStoreException(CreateError_t("The list of revoked certificates '%1' cannot be read.").AddDetails(reason)
                            << RevocationList::Path().GetAbsolutePath());
}

/// Nothing for a file that is not there; a link that leads nowhere is one that cannot be read.
std::optional<LumPalArray::CharArray_t> Content() try {
    auto content = LumPalIo::ReadWhole(LumPalIo::OpenPlainFile(RevocationList::Path()), RevocationList::kLargest);
    if (content) return content;
    Unreadable(CreateError_t("It is larger than %1 MiB.") << static_cast<int>(RevocationList::kLargest >> 20));
} catch (const LumPalIo::FileNotFoundException_t& e) {
    if (RevocationList::Path().IsSymbolicLink()) Unreadable(e.GetMessageList());
    return std::nullopt;
} catch (const LumPalIo::IOException_t& e) {
    Unreadable(e.GetMessageList());
}

using Shared = std::shared_ptr<const RevocationList>;

/// The list that was read last, as long as its file was left alone since. Any thread.
class Kept {
public:
    Shared Find(const String_t& path, const std::optional<LumPalIo::FileMark>& mark) {
        const LumPalThread::PlainLock_t lock(mutex);
        return mark && seen == mark && of == path ? list : nullptr;
    }
    void Keep(const String_t& path, const std::optional<LumPalIo::FileMark>& mark, const Shared& read) {
        const LumPalThread::PlainLock_t lock(mutex);
        of = path;
        seen = mark;
        list = read;
    }

private:
    LumPalThread::PlainMutex_t mutex;
    String_t of LUMPAL_GUARDED_BY(mutex);
    std::optional<LumPalIo::FileMark> seen LUMPAL_GUARDED_BY(mutex);
    Shared list LUMPAL_GUARDED_BY(mutex);
};

/// That of a file whose next change is sure to show in it.
std::optional<LumPalIo::FileMark> MarkAtRest(const File_t& file) {
    const auto mark = LumPalIo::MarkOf(file, LumPalIo::Links::Followed);
    return mark && LumPalIo::IsAtRest(*mark) ? mark : std::nullopt;
}

}  // namespace

File_t RevocationList::Path() {
    return File_t(KeyStoreDirectory() + "revoked.list");
}

Shared RevocationList::Load() {
    static Kept& kept = *new Kept;  // never destroyed: calls may still be made while the process ends
    const File_t file = Path();
    const auto mark = MarkAtRest(file);
    if (Shared list = kept.Find(file.ToString(), mark)) return list;
    const auto content = Content();
    auto list = std::make_shared<RevocationList>();
    if (!content) return list;
    *list = Read(content->View(), file.GetAbsolutePath());
    kept.Keep(file.ToString(), mark, list);
    return list;
}

RevocationList RevocationList::Read(std::string_view text, const String_t& source) {
    RevocationList list;
    list.digest = Digest(text);
    for (std::size_t number = 1;; ++number) {
        const std::size_t length = text.find('\n');
        if (length == text.npos) Broken(source, number, "it is cut off");
        const std::string_view line = text.substr(0, length);
        text.remove_prefix(length + 1);
        if (IsEnd(line, list.entries.size())) {
            if (!text.empty()) Broken(source, number + 1, "it stands behind the end");
            return list;
        }
        const std::optional<Entry> entry = EntryIn(line);
        if (!entry)
            Broken(source, number, line.starts_with(kEnd) ? "the number of lines is another" : "it is no entry");
        if (const char* wrong = WhatIsWrong(*entry)) Broken(source, number, wrong);
        if (!list.Take(*entry)) Broken(source, number, "the certificate stands above already");
    }
}

bool RevocationList::Take(Entry entry) {
    if (!known.insert(KeyOf(entry.id)).second) return false;
    entries.push_back(std::move(entry));
    return true;
}

bool RevocationList::Holds(const CertificateId& id) const {
    return known.contains(KeyOf(id));
}

void RevocationList::Refuse(const X509Certificate& certificate) const {
    const CertificateId id = CertificateId::Of(certificate);
    if (!Holds(id)) return;
    throw SecCoreException(CreateError_t("The certificate of '%1' (serial number %2 of '%3') is revoked on this node.")
                           << certificate.GetSubjectCN() << String_t::FromUtf8(id.serial)
                           << String_t::FromUtf8(id.issuer));
}

bool RevocationList::Add(Entry entry) {
    if (const char* wrong = WhatIsWrong(entry))
        throw LumPalMsg::IllegalArgumentError_t(CreateError_t("The certificate cannot be revoked: %1.") << wrong);
    if (!Take(std::move(entry))) return false;
    if (ToText().size() <= kLargest) return true;
    known.erase(KeyOf(entries.back().id));
    entries.pop_back();
    throw LumPalMsg::IllegalArgumentError_t(
        CreateError_t("The list of revoked certificates holds as many as it can (%1 MiB).")
        << static_cast<int>(kLargest >> 20));
}

bool RevocationList::Remove(const CertificateId& id) {
    const std::string key = KeyOf(id);
    if (known.erase(key) == 0) return false;
    std::erase_if(entries, [&key](const Entry& entry) { return KeyOf(entry.id) == key; });
    return true;
}

std::string RevocationList::ToText() const {
    std::string text;
    for (const Entry& entry : entries) text += LineOf(entry);
    return text + std::string(kEnd) + std::to_string(entries.size()) + '\n';
}

}  // namespace LumSecCore
