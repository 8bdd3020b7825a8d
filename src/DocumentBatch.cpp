#include "DocumentBatch.h"

#include <set>

#include "DirectoryImpl.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyWriter.h"
#include "StoreJournal.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalStr::String_t;

DocumentBatch::DocumentBatch(const File_t& store) : store(store) {}

DocumentBatch::~DocumentBatch() {
    try {
        if (!room.IsNull() && room.Exists()) DirectoryImpl::DeleteFile(room);
    } catch (const std::exception&) {
        // Without memory it stays until the next start.
    }
}

File_t DocumentBatch::PlaceOf(const File_t& store, const PolicyHeaderImpl& header) {
    const String_t typeName = header.GetTypeName();
    const String_t id = header.GetContainerId();
    CheckPlainName(typeName);
    CheckPolicyId(id);
    return File_t(File_t(store, typeName), id + names::HeaderFileSuffix);
}

void DocumentBatch::MakeRoom() {
    if (room.IsNull()) room = DirectoryImpl::CreateTemporaryFile();
}

void DocumentBatch::Add(const HeaderPtr& header) {
    const File_t place = PlaceOf(store, *header);
    const LumPalIo::FileInputStream_t input = Folder_t(DirectoryImpl::FolderOf(place)).Open(place.GetName());
    auto writer = std::make_unique<PolicyWriter>(room, place, input, store, header.Get());
    writer->PrepareUnflushed();
    documents.push_back({header, room, std::move(writer)});
    room = File_t();
}

DocumentBatch::Outcome DocumentBatch::Place() {
    Outcome outcome;
    try {
        FlushWaiting();
        for (const Document& document : documents) {
            document.writer->Write("");
            ++outcome.placed;
        }
    } catch (const LumPalMsg::Exception_t&) {
        outcome.failure = std::current_exception();
    }
    try {
        FlushPlaced(outcome.placed);
    } catch (const LumPalMsg::Exception_t&) {
        // None of them is surely there.
        outcome = {0, std::current_exception()};
    }
    return outcome;
}

void DocumentBatch::FlushWaiting() const {
    if (documents.empty()) return;
    std::vector<String_t> names;
    for (const Document& document : documents) names.push_back(document.file.GetName());
    StoreJournal::FlushFiles(DirectoryImpl::FolderOf(documents.front().file), names);
}

void DocumentBatch::FlushPlaced(std::size_t count) const {
    std::set<String_t> types;
    for (std::size_t i = 0; i < count; ++i) types.insert(documents[i].header->GetTypeName());
    if (!types.empty()) StoreJournal::Flush({types.begin(), types.end()});
}

}  // namespace LumConf
