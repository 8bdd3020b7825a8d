#include "lumpolicy/PolicyDiff.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "LumPalCmd.h"
#include "LumPalIo.h"
#include "LumPalPlainFile.h"
#include "LumPalWhole.h"
#include "common/Arguments.h"

namespace lumpolicy {

using LumPalIo::File_t;
using LumPalIo::IOException_t;
using LumPalMsg::CreateError_t;
using lumtools::Text;

namespace {

constexpr int kDiffFailed = 2;  // 1: the files differ

/// A folder of this user alone for the two sides of a diff; it goes with the object.
class Sides {
public:
    Sides() : folder((std::filesystem::temp_directory_path() / "lumpolicy.XXXXXX").string()) {
        if (mkdtemp(folder.data())) return;
        throw IOException_t(CreateError_t("A folder like '%1' for a difference cannot be made.") << Text(folder));
    }
    Sides(const Sides&) = delete;
    Sides& operator=(const Sides&) = delete;
    ~Sides() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    /// What diff(1) says of two texts, from its first hunk on.
    std::string Diff(const std::string& node, const std::string& wanted) const {
        Write("node", node);
        Write("wanted", wanted);
        LumPalCmd::Command_t command(Text("diff -u \"" + folder + "/node\" \"" + folder + "/wanted\""));
        command.RedirectInput(LumPalCmd::Null).RedirectOutput(LumPalCmd::Pipe);
        const LumPalCmd::Process_t process = command.Execute();
        const std::string text(LumPalIo::ReadAtMost(process.GetStandardOutput(), LumPalIo::kNoLimit).View());
        if (process.WaitFor() >= kDiffFailed) throw IOException_t(CreateError_t("diff(1) failed."));
        return text.substr(std::min(text.find("@@"), text.size()));
    }

private:
    void Write(const char* name, const std::string& text) const {
        std::ofstream file(folder + "/" + name, std::ios::binary);
        file << text;
        if (!file.flush()) throw IOException_t(CreateError_t("'%1' cannot be written.") << Text(folder + "/" + name));
    }

    std::string folder;
};

bool IsText(const std::string& bytes) {
    return bytes.find('\0') == bytes.npos && Text(bytes).ToUtf8() == bytes;
}

std::string DiffOf(const Sides& sides, const std::string& what, const std::string& node, const std::string& wanted) {
    if (node == wanted) return "";
    const std::string name = Text(what).ToUtf8();
    if (!IsText(node) || !IsText(wanted)) return "binary: " + name + " differs\n";
    return "--- node: " + name + "\n+++ wanted: " + name + "\n" + sides.Diff(node, wanted);
}

std::string ReadData(const std::string& header, const std::string& name) {
    const File_t folder = File_t(File_t(Text(header)).GetAbsolutePath()).GetParentFile();
    return std::string(
        LumPalIo::ReadAtMost(LumPalIo::OpenPlainFile(File_t(folder, Text(name))), LumPalIo::kNoLimit).View());
}

}  // namespace

PolicySide::PolicySide(const LumConf::PolicyHeader& header) : header(LinesOf(header)) {}

PolicySide::PolicySide(const LumConf::StoredPolicy& has) : header(LinesOf(has.header)) {
    for (const auto& file : has.dataFiles) data[file.name.ToUtf8()] = file.bytes.View();
}

PolicySide::PolicySide(const DesiredPolicy& wanted) : header(LinesOf(wanted.header)) {
    for (const auto& [name, digest] : wanted.digests) data[name] = ReadData(wanted.file, name);
}

std::string UnifiedDiff(const std::string& name, const PolicySide& node, const PolicySide& wanted) {
    const Sides sides;
    std::string text = DiffOf(sides, name, node.header, wanted.header);
    std::set<std::string> names;
    for (const PolicySide* side : {&node, &wanted}) {
        for (const auto& [file, content] : side->data) names.insert(file);
    }
    const auto contentOf = [](const PolicySide& side, const std::string& file) {
        const auto found = side.data.find(file);
        return found == side.data.end() ? std::string() : found->second;
    };
    for (const std::string& file : names) {
        const bool isOnBoth = node.data.contains(file) && wanted.data.contains(file);
        const std::string diff =
            DiffOf(sides, name + ", data file " + file, contentOf(node, file), contentOf(wanted, file));
        // An empty file that comes or goes has no line to show.
        text += diff.empty() && !isOnBoth ? "empty: " + name + ", data file " + file + "\n" : diff;
    }
    return text;
}

}  // namespace lumpolicy
