#include "lumpolicy/ExportFolder.h"

#include <cstdlib>
#include <filesystem>

#include "LumPalWhole.h"
#include "LumSecDigest.h"
#include "common/Arguments.h"
#include "common/Table.h"

namespace lumpolicy {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalIo::IOException_t;
using LumPalMsg::CreateError_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;
using LumPalThread::PlainLock_t;
using lumtools::Text;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestName = 255;
constexpr int kMostKept = 1000000;
constexpr unsigned kFolderMode = 0700, kFileMode = 0600;

fs::path WithoutSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

Folder_t OpenAbove(const fs::path& place) {
    std::error_code error;
    const fs::path above = fs::canonical(fs::absolute(place).parent_path(), error);
    if (!error && fs::is_directory(above, error)) return Folder_t(File_t(Text(above.string())));
    throw IllegalArgumentError_t(CreateError_t("There is no folder '%1' to write to.")
                                 << Text(place.has_parent_path() ? place.parent_path().string() : "."));
}

void CheckName(const String_t& name) {
    const std::string text = name.ToUtf8();
    const bool isPlain = !text.empty() && text != "." && text != ".." && text.size() <= kLongestName &&
                         text.find_first_of("/\\") == text.npos && lumtools::Printable(text) == text;
    if (isPlain) return;
    throw RuntimeException_t(CreateError_t("'%1' cannot be the name of a file or folder.")
                             << Text(lumtools::Printable(text.substr(0, kLongestName))));
}

bool IsAlike(const Folder_t& folder, const String_t& name, const CharArray_t& bytes) {
    const auto there = LumPalIo::ReadWhole(folder.Open(name), bytes.GetLength());
    return there && *there == bytes;
}

void WriteNew(const Folder_t& folder, const String_t& name, const CharArray_t& bytes) {
    LumPalIo::FileOutputStream_t out = folder.Create(name);
    out.SetMode(kFileMode);
    out.Write(bytes);
    out.Close();
}

}  // namespace

LUMPAL_DEFINE_EXCEPTION(FilesCollide);

ExportFolder::ExportFolder(const std::string& place, Taken taken) : taken(taken) {
    const fs::path path = WithoutSlashes(place);
    name = Text(path.filename().string());
    if (name.IsEmpty() || path.filename() == "." || path.filename() == "..")
        throw IllegalArgumentError_t(CreateError_t("'%1' is no name for a new folder.") << Text(place));
    parent = OpenAbove(path);
    if (taken == Taken::Keep || parent->Look(name) == Folder_t::Entry::None) return;
    throw IOException_t(
        CreateError_t("'%1' is there already: name a new folder, or keep the old one aside with --force.")
        << Text(place));
}

ExportFolder::~ExportFolder() {
    GiveUp();
}

void ExportFolder::CheckGoesOn() const {
    if (isGivenUp || isFinished) throw LumPalMsg::IllegalStateError_t(CreateError_t("The export has ended."));
}

void ExportFolder::Begin() {
    const PlainLock_t lock(mutex);
    CheckGoesOn();
    Discard();
    std::string path = parent->Path("." + name + ".unfinished.XXXXXX").ToString().ToUtf8();
    if (!mkdtemp(path.data()))
        throw IOException_t(CreateError_t("A folder cannot be made in '%1'.") << File_t(Text(path)).GetParent());
    aside = path;
}

Folder_t ExportFolder::Open(const String_t& folder) {
    const auto found = folders.find(folder);
    if (found != folders.end()) return found->second;
    CheckName(folder);
    const File_t path(Text(aside), folder);
    path.MakeFolders();
    path.SetMode(kFolderMode);
    return folders.emplace(folder, Folder_t(path)).first->second;
}

std::string ExportFolder::Write(const String_t& folder, const String_t& file, const CharArray_t& bytes) {
    const PlainLock_t lock(mutex);
    CheckGoesOn();
    CheckName(file);
    const Folder_t target = Open(folder);
    if (target.Look(file) == Folder_t::Entry::None) {
        WriteNew(target, file, bytes);
    } else if (!IsAlike(target, file, bytes)) {
        throw FilesCollide(CreateError_t("Two files are both '%1', with other contents.")
                           << File_t(folder, file).ToString());
    }
    return LumSecCore::Sha256(target.Open(file));
}

/// @return the name that what has the place gets; empty when nothing has it
String_t ExportFolder::MakeWay() const {
    if (taken == Taken::Refuse || parent->Look(name) == Folder_t::Entry::None) return "";
    for (int number = 1; number <= kMostKept; ++number) {
        const String_t kept = name + "." + Text(std::to_string(number));
        if (parent->Look(kept) != Folder_t::Entry::None) continue;
        if (parent->Move(name, *parent, kept)) return kept;
        break;
    }
    throw IOException_t(CreateError_t("'%1' cannot be kept aside.") << parent->Path(name).ToString());
}

std::string ExportFolder::Finish() {
    const PlainLock_t lock(mutex);
    CheckGoesOn();
    Folder_t(File_t(Text(aside))).SyncAll();
    const String_t kept = MakeWay();
    if (!parent->Move(File_t(Text(aside)).GetName(), *parent, name)) {
        if (!kept.IsEmpty()) parent->Move(kept, *parent, name);
        throw IOException_t(
            CreateError_t("'%1' cannot be made: something else is there, or the folder above it may not "
                          "be written to.")
            << parent->Path(name).ToString());
    }
    isFinished = true;
    parent->Sync();
    return kept.IsEmpty() ? "" : parent->Path(kept).ToString().ToUtf8();
}

void ExportFolder::Discard() noexcept {
    folders.clear();
    std::error_code ignored;
    if (!aside.empty()) fs::remove_all(aside, ignored);
    aside.clear();
}

bool ExportFolder::GiveUp() noexcept {
    const PlainLock_t lock(mutex);
    if (isFinished) return false;
    isGivenUp = true;
    Discard();
    return true;
}

}  // namespace lumpolicy
