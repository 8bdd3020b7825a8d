// Any bytes as the file of rights: it is broken, or grants known rights to those whom it names and nothing to others.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Faults.h"
#include "LumPalCfgFile.h"
#include "LumSecAuth.h"
#include "Rights.h"
#include "TempRoot.h"

namespace {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;
using LumSecAuth::Rights;

/// Made once: the folder goes with the program.
const std::string& Path() {
    static const TempRoot root{std::filesystem::exists(kFastFolder) ? kFastFolder : "/tmp"};
    static const std::string path = root.Native() + "/rights.ini";
    return path;
}

/// What the reader of such files makes of the bytes; the file could be read before.
LumPalConfig::ConfigGroup_t Sections(const CharArray_t& input) {
    LumPalConfig::ConfigGroup_t group;
    LumPalCfgFile::ConfigReader_t::Load(LumPalIo::CharArrayInputStream_t::Over(input), group);
    return group;
}

void CheckNamed(const Rights& rights, const LumPalConfig::Configuration_t& section) {
    String_t sender, words;
    for (int i = 0; section.GetAttr(i, sender, words); ++i) {
        if ((rights.Granted(section.GetNamespace(), sender) & ~LumSecAuth::kAllRights) != 0) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    std::ofstream(Path(), std::ios::binary) << input.View();
    try {
        const Rights rights = Rights::Load(LumPalIo::File_t(String_t::FromUtf8(Path())));
        const LumPalConfig::ConfigGroup_t group = Sections(input);
        for (int i = 0; i < group.GetConfigCount(); ++i) CheckNamed(rights, group.GetConfig(i));
        if (rights.Granted("conf", "nobody that any input names") != 0) std::abort();
        rights.GetProblems().Format(LumPalMsg::Text);
    } catch (const LumPalCfgFile::SyntaxException_t&) {
    }
    return 0;
}
