#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "LumPalIo.h"
#include "TempRoot.h"

namespace LumPalIo {
namespace {

namespace fs = std::filesystem;

TEST(FileLink, ALinkIsSeenAndDeletedAsALinkAlsoWithASeparatorBehindItsName) {
    TempRoot root;
    fs::create_directory(root.Native() + "/folder");
    std::ofstream(root.Native() + "/folder/file") << "keep";
    fs::create_directory_symlink(root.Native() + "/folder", root.Native() + "/link");
    const File_t link(root.Path("link/"));
    EXPECT_TRUE(link.IsSymbolicLink());
    EXPECT_TRUE(link.Delete());
    EXPECT_TRUE(fs::exists(root.Native() + "/folder/file"));
    EXPECT_FALSE(fs::exists(fs::symlink_status(root.Native() + "/link")));
}

}  // namespace
}  // namespace LumPalIo
