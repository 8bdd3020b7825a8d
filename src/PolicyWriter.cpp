#include "PolicyWriter.h"

#include "DirectoryImpl.h"
#include "FilePermission.h"
#include "LumPalCodeset.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyXmlParser.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

namespace {

String_t HeaderFileName(const String_t& id) {
    return id.ToLower() + names::HeaderFileSuffix;
}

bool IsSame(const File_t& a, const File_t& b) {
    return a.GetAbsolutePath() == b.GetAbsolutePath();
}

/// A policy that changed its id leaves no document under the old one.
void DeleteFormerFile(const String_t& typeName, const String_t& oldId, const File_t& present) {
    if (!IsPlainName(oldId)) return;
    const File_t file(File_t(paths::PolicyInstallDirectory(), typeName), HeaderFileName(oldId));
    if (!IsSame(file, present) && file.Exists()) DirectoryImpl::DeleteFile(file);
}

}  // namespace

PolicyWriter::PolicyWriter(const File_t& tempFile, const File_t& oldFile, const LumPalIo::InputStream_t& input,
                           const File_t& targetBase, PolicyHeaderImpl* source)
    : tempFile(tempFile), oldFile(oldFile), input(input), targetBase(targetBase), source(source) {
    // Without its content the old document would be replaced by an empty one.
    const bool complete = !tempFile.IsNull() && !oldFile.IsNull() && !input.IsNull() && source;
    if (!complete) Raise<LumPalMsg::IllegalArgumentError_t>(msg::WriterArgument);
    try {
        fileStream = DirectoryImpl::OpenTemporaryFile(tempFile);
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::WriterFileNotWritten, tempFile.GetAbsolutePath(), e);
    }
    initialized = true;
}

PolicyWriter::~PolicyWriter() {
    try {
        if (prepared && tempFile.Exists()) DirectoryImpl::DeleteFile(tempFile);
    } catch (const std::exception&) {
        // Without memory it stays until the next start.
    }
}

void PolicyWriter::Prepare() {
    Make(true);
}

void PolicyWriter::PrepareUnflushed() {
    Make(false);
}

void PolicyWriter::Make(bool flushed) {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::WriterNotInitialized);
    if (prepared) return;
    CheckPlainName(source->GetTypeName());
    CheckPolicyId(source->GetContainerId());
    try {
        Rewrite();
        // What was rewritten is on the disk by now, as it will rest, so that neither a full disk nor a crash costs the
        // old document.
        fileStream.SetMode(FilePermissionSet::Protected().GetMode());
        if (flushed) fileStream.Sync();
        input.Close();
        bufferedStream.Close();
    } catch (...) {  // memory may run out too
        DirectoryImpl::DeleteFile(tempFile);
        throw;
    }
    prepared = true;
}

void PolicyWriter::Write(const String_t& oldId) {
    LUMCONF_BLOCK(trace::Policy, "PolicyWriter::Write");
    Prepare();
    const File_t target(File_t(targetBase, source->GetTypeName()), HeaderFileName(source->GetContainerId()));
    // A document that is changed where it stands is replaced in one step, and never missing.
    if (!IsSame(oldFile, target)) DirectoryImpl::DeleteFile(oldFile);
    DirectoryImpl::MoveOrCopyFile(tempFile, target);
    prepared = false;
    DeleteFormerFile(source->GetTypeName(), oldId, target);
    initialized = false;
}

void PolicyWriter::Rewrite() {
    bufferedStream = LumPalIo::BufferedOutputStream_t(fileStream);
    // The handler writes all line breaks and blanks itself.
    writer =
        XmlWriter_t(bufferedStream, XmlWriter_t::Options_t().Encoding(LumPalCodeset::Codeset_t(names::Utf8)).Indent(0));
    handler.StartRewriting(writer, source);
    PolicyXmlParser::Parse(input, handler);
}

}  // namespace LumConf
