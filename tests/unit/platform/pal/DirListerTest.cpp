#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "LumPalIo.h"
#include "TempRoot.h"

using LumPalIo::DirLister_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

void Touch(const TempRoot& root, const std::string& name) {
    std::ofstream(root.Native() + "/" + name) << "x";
}

std::set<String_t> Names(DirLister_t lister) {
    std::set<String_t> names;
    while (lister.Next()) names.insert(lister.GetCurrentFile().GetName());
    return names;
}

}  // namespace

TEST(DirLister, ShowsEveryEntryOnce) {
    const TempRoot root;
    Touch(root, "a");
    Touch(root, ".hidden");
    Touch(root, "\xC3\xA9");
    std::filesystem::create_directories(root.Native() + "/dir/below");
    EXPECT_EQ(Names(DirLister_t(File_t(root.Path()))), (std::set<String_t>{"a", ".hidden", u"\u00E9", "dir"}));
}

TEST(DirLister, GivesFilesInTheListedDirectory) {
    const TempRoot root;
    Touch(root, "a");
    DirLister_t lister{File_t(root.Path())};
    ASSERT_TRUE(lister.Next());
    EXPECT_EQ(lister.GetCurrentFile().ToString(), root.Path("a"));
    EXPECT_TRUE(lister.GetCurrentFile().Exists());
}

TEST(DirLister, AFilterShowsOnlyNamesThatEndSo) {
    const TempRoot root;
    for (const char* name : {"a_header.xml", "_header.xml", "a_header.xml.bak", "A_HEADER.XML", "header.xml", "x"}) {
        Touch(root, name);
    }
    const auto suffix = DirLister_t::Filter_t::Suffix("_header.xml");
    EXPECT_EQ(Names(DirLister_t(File_t(root.Path()), suffix)), (std::set<String_t>{"a_header.xml", "_header.xml"}));
    EXPECT_EQ(Names(DirLister_t(File_t(root.Path()), DirLister_t::Filter_t::Suffix(""))).size(), 6u);
    EXPECT_EQ(Names(DirLister_t(File_t(root.Path()), nullptr)).size(), 6u);
}

TEST(DirLister, AFilterOfOnesOwnIsAsked) {
    class Longer : public DirLister_t::Filter_t {
        bool Accept(const String_t& name) const override { return name.GetLength() > 1; }
    };
    const TempRoot root;
    Touch(root, "a");
    Touch(root, "bb");
    EXPECT_EQ(Names(DirLister_t(File_t(root.Path()), std::make_shared<Longer>())), (std::set<String_t>{"bb"}));
}

TEST(DirLister, StandsNowhereBeforeTheFirstNextAndAtTheEnd) {
    const TempRoot root;
    Touch(root, "a");
    DirLister_t lister{File_t(root.Path())};
    EXPECT_FALSE(lister.IsAtEnd());
    EXPECT_THROW(lister.GetCurrentFile(), LumPalMsg::IllegalStateError_t);
    EXPECT_TRUE(lister.Next());
    EXPECT_FALSE(lister.IsAtEnd());
    EXPECT_EQ(lister.GetCurrentFile().GetName(), "a");
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(lister.Next());
        EXPECT_TRUE(lister.IsAtEnd());
        EXPECT_THROW(lister.GetCurrentFile(), LumPalMsg::IllegalStateError_t);
    }
}

TEST(DirLister, AnEmptyDirectoryIsAtItsEndFromTheStart) {
    const TempRoot root;
    DirLister_t lister{File_t(root.Path())};
    EXPECT_TRUE(lister.IsAtEnd());
    EXPECT_FALSE(lister.Next());
    EXPECT_TRUE(lister.IsAtEnd());
}

TEST(DirLister, EntriesMayBeRemovedOnTheWay) {
    const TempRoot root;
    for (int i = 0; i < 300; ++i) Touch(root, std::to_string(i));
    int removed = 0;
    for (DirLister_t lister{File_t(root.Path())}; lister.Next();) removed += lister.GetCurrentFile().Delete();
    EXPECT_EQ(removed, 300);
    EXPECT_TRUE(std::filesystem::is_empty(root.Native()));
}

TEST(DirLister, CopiesWalkTogether) {
    const TempRoot root;
    Touch(root, "a");
    DirLister_t first{File_t(root.Path())};
    DirLister_t second(first);
    EXPECT_TRUE(first.Next());
    EXPECT_EQ(second.GetCurrentFile().GetName(), "a");
    EXPECT_FALSE(second.Next());
    EXPECT_TRUE(first.IsAtEnd());
}

TEST(DirLister, NamesThatAreNoUtf8CanBeOpenedAndRemoved) {
    const TempRoot root;
    for (const char* name : {"a\xFFz", "\xC3", "\xED\xA0\x80", "x\xE2\x82"}) Touch(root, name);
    int seen = 0;
    for (DirLister_t lister{File_t(root.Path())}; lister.Next(); ++seen) {
        EXPECT_TRUE(lister.GetCurrentFile().Exists());
        EXPECT_EQ(lister.GetCurrentFile().GetSize(), 1u);
        EXPECT_TRUE(lister.GetCurrentFile().Delete());
    }
    EXPECT_EQ(seen, 4);
    EXPECT_TRUE(std::filesystem::is_empty(root.Native()));
}

TEST(DirLister, RefusesWhatIsNoDirectory) {
    const TempRoot root;
    Touch(root, "file");
    EXPECT_THROW(DirLister_t(File_t(root.Path("missing"))), LumPalIo::FileNotFoundException_t);
    EXPECT_THROW(DirLister_t(File_t(root.Path("file"))), LumPalIo::IOException_t);
    EXPECT_THROW(DirLister_t{File_t()}, LumPalIo::FileNotFoundException_t);
}
