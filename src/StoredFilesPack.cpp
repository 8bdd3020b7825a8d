#include "StoredFilesPack.h"

#include <algorithm>
#include <set>

#include "Exceptions.h"
#include "LumPalWhole.h"
#include "LumSecDigest.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyArrayReader.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"
#include "Trace.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::DataOutputStream_t;
using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalStr::String_t;

namespace {

bool IsThere(const Folder_t& folder, const String_t& name) {
    const Folder_t::Entry entry = folder.Look(name);
    return entry == Folder_t::Entry::File || entry == Folder_t::Entry::Linked;
}

/// Whether an array may carry it: a document of the store may say anything.
bool IsDataFileName(const String_t& name) {
    return IsPlainName(name) && !IsHeaderName(name);
}

PolicyHeader ParseDocument(const CharArray_t& document, const String_t& id) try {
    PolicyXmlHandler handler;
    handler.StartChecking();  // what a node has is told, whatever it lacks
    PolicyXmlParser::Parse(LumPalIo::CharArrayInputStream_t(document), handler);
    return PolicyHeader(handler.TakeHeader().Get());
} catch (const LumPalMsg::Exception_t&) {
    const PolicyHeader header;
    header.SetContainerId(id);
    return header;
}

CharArray_t ReadBytes(TransferCursor& cursor, std::uint32_t length) {
    CharArray_t bytes(length);
    if (length > 0) cursor.Bytes().Read(bytes);
    return bytes;
}

StoredPolicy UnpackOne(TransferCursor& cursor) {
    StoredPolicy policy;
    PolicyArrayReader files(cursor);
    while (files.Next()) {
        CharArray_t bytes = ReadBytes(cursor, files.GetLength());
        if (files.IsHeader()) {
            policy.id =
                files.GetName().Left(files.GetName().GetLength() - String_t(names::HeaderFileSuffix).GetLength());
            policy.document = std::move(bytes);
        } else {
            policy.dataFiles.push_back({files.GetName(), std::move(bytes)});
        }
    }
    policy.header = ParseDocument(policy.document, policy.id);
    return policy;
}

}  // namespace

StoredFilesPack::StoredFilesPack(StoredFiles what) : what(what) {
    DataOutputStream_t out(collected);
    out.WriteInt32(0);
    out.Flush();
}

void StoredFilesPack::Add(const File_t& store, const PolicyRecord& policy) try {
    const bool isPlain = IsPlainName(policy.typeName) && IsPlainName(policy.containerId + names::HeaderFileSuffix);
    if (isPlain) AddFrom(Folder_t(File_t(store, policy.typeName)), policy);
} catch (const LumPalIo::FileNotFoundException_t& e) {
    LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
}

void StoredFilesPack::AddFrom(const Folder_t& folder, const PolicyRecord& policy) {
    const String_t document = policy.containerId + names::HeaderFileSuffix;
    if (!IsThere(folder, document)) return;
    Entries entries{{document, ReadWhole(folder.Open(document))}};
    AddDataFiles(folder, policy, entries);
    Write(entries);
}

/// A document with several lists of data files names each of them more than once.
void StoredFilesPack::AddDataFiles(const Folder_t& folder, const PolicyRecord& policy, Entries& entries) const {
    std::set<String_t> seen;
    for (const PolicyDataFile& file : policy.dataFiles) {
        if (entries.size() == PolicyArrayReader::kMostFiles) return;
        if (!IsDataFileName(file.name) || !seen.insert(file.name).second || !IsThere(folder, file.name)) continue;
        entries.push_back({file.name, ReadData(folder, file.name)});
    }
}

CharArray_t StoredFilesPack::ReadData(const Folder_t& folder, const String_t& name) const {
    if (what == StoredFiles::Contents) return ReadWhole(folder.Open(name));
    try {
        LumPalIo::InputStream_t file = folder.Open(name);
        if (file.Available() > kMostHashed) return {};  // nobody waits for terabytes
        const std::string digest = LumSecCore::Sha256(file, kMostHashed);
        return CharArray_t(digest.data(), digest.size());
    } catch (const LumPalIo::IOException_t& e) {
        LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
        return {};
    }
}

CharArray_t StoredFilesPack::ReadWhole(const LumPalIo::InputStream_t& file) const {
    const std::optional<CharArray_t> bytes =
        LumPalIo::ReadWhole(file, kMostBytes - std::min(kMostBytes, collected.Size()));
    if (!bytes) Raise<PolicyFileException>(msg::StoredFilesTooLarge, static_cast<int>(kMostBytes));
    return *bytes;
}

void StoredFilesPack::Write(const Entries& entries) {
    DataOutputStream_t out(collected);
    out.WriteInt32(static_cast<std::int32_t>(entries.size()));
    for (const Entry& entry : entries) {
        out.WriteUTF16String(entry.name);
        out.WriteInt32(static_cast<std::int32_t>(entry.bytes.GetLength()));
        out.Write(entry.bytes);
    }
    out.Flush();
    if (collected.Size() > kMostBytes)
        Raise<PolicyFileException>(msg::StoredFilesTooLarge, static_cast<int>(kMostBytes));
    ++count;
}

CharArray_t StoredFilesPack::Take() {
    CharArray_t package = collected.TakeCharArray();
    for (int i = 0; i < 4; ++i) package[i] = static_cast<char>(count >> (24 - 8 * i));
    return package;
}

std::vector<StoredPolicy> StoredPolicy::Unpack(const CharArray_t& package) {
    TransferCursor cursor(package);
    std::vector<StoredPolicy> policies;
    for (std::int32_t left = cursor.ReadCount(0, PolicyArrayReader::kLeastPolicyBytes); left > 0; --left) {
        policies.push_back(UnpackOne(cursor));
    }
    return policies;
}

}  // namespace LumConf
