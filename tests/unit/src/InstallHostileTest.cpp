// Arrays that want to do harm: whatever comes, nothing is written outside the incoming directory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Files.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::DataOutputStream_t;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

TestPolicy Policy() {
    TestPolicy policy;
    policy.id = "a";
    policy.data = {{"one", "first"}, {"two", "second"}};
    return policy;
}

class InstallHostileTest : public testing::Test {
protected:
    /// The worker writes the settings of policies once at its start.
    void SetUp() override {
        ASSERT_TRUE(Eventually([this] { return Elsewhere().count("etc/pal/config/policy_settings.ini") == 1; }));
    }
    CaughtFailure Install(const CharArray_t& array) {
        return FailureOf<LumPalMsg::Exception_t>([&] {
            InstallOptions options;
            options.SetNotify(false);
            node->Install("tester", array, options);
        });
    }
    /// Everything below the root but what the node may write during an install.
    std::set<std::string> Elsewhere() const {
        std::set<std::string> files = PolicyNode::FilesBelow(node.Root().Native());
        std::erase_if(files, [](const std::string& file) {
            return file.starts_with("spool/incoming/files/conf_tmp/") || file.starts_with("log/");
        });
        return files;
    }
    PolicyNode node;
};

TEST_F(InstallHostileTest, AnArrayCutAtAnyByteIsRefusedAndChangesNothingOutsideTheIncomingDirectory) {
    const CharArray_t array = Policy().Array();
    const std::set<std::string> before = Elsewhere();
    for (std::size_t length = 0; length < array.GetLength(); ++length) {
        ASSERT_EQ(Install(CharArray_t(array.GetData(), length)).id, 605u) << length;
        ASSERT_EQ(Elsewhere(), before) << length;
    }
    EXPECT_FALSE(node->IsPolicyInstalled());
    EXPECT_EQ(Install(array).id, 0u);
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(InstallHostileTest, AnArrayThatCannotBeUnpackedLeavesItsFilesToTheNextStart) {
    const CharArray_t array = Policy().Array();
    EXPECT_EQ(Install(CharArray_t(array.GetData(), array.GetLength() - 1)).id, 605u);
    EXPECT_EQ(node.Incoming().count("a_header.xml"), 1u);
    EXPECT_EQ(node.Audited("INSTALL"), 0);
    node.Restart();
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

struct ArrayRow {
    const char* what;
    std::int32_t count;
    std::vector<std::pair<std::string, std::string>> files;
};

const ArrayRow kArrays[] = {
    {"no file", 0, {}},
    {"a negative count", -1, {{"a_header.xml", "x"}}},
    {"the most negative count", INT32_MIN, {{"a_header.xml", "x"}}},
    {"a huge count", INT32_MAX, {{"a_header.xml", "x"}}},
    {"one file too few", 2, {{"a_header.xml", "x"}}},
    {"no header", 1, {{"a.txt", "x"}}},
    {"a header that leaves", 1, {{"../a_header.xml", "x"}}},
    {"a header elsewhere", 1, {{"/tmp/lumtest-forbidden_header.xml", "x"}}},
    {"a header in a folder", 1, {{"sub/a_header.xml", "x"}}},
    {"a data file that leaves", 2, {{"a_header.xml", "x"}, {"../../../../policies/x", "x"}}},
    {"a data file with the other separator", 2, {{"a_header.xml", "x"}, {"..\\x", "x"}}},
    {"a data file without a name", 2, {{"a_header.xml", "x"}, {"", "x"}}},
    {"a data file that is the folder", 2, {{"a_header.xml", "x"}, {".", "x"}}},
    {"a data file that is the folder above", 2, {{"a_header.xml", "x"}, {"..", "x"}}},
    {"a data file with a line end", 2, {{"a_header.xml", "x"}, {"x\n", "x"}}},
    {"a data file with a NUL", 2, {{"a_header.xml", "x"}, {std::string("x\0y", 3), "x"}}},
    {"a second header", 2, {{"a_header.xml", "x"}, {"b_header.xml", "x"}}},
    {"the header again", 2, {{"a_header.xml", "x"}, {"a_header.xml", "y"}}},
    {"a data file twice", 3, {{"a_header.xml", "x"}, {"x", "1"}, {"x", "2"}}},
    {"a name that no file system takes", 2, {{"a_header.xml", "x"}, {std::string(256, 'n'), "x"}}},
};

TEST_F(InstallHostileTest, CountsAndNamesThatTheStoreCannotTakeAreRefused) {
    const std::set<std::string> before = Elsewhere();
    for (const ArrayRow& row : kArrays) {
        SCOPED_TRACE(row.what);
        CharArrayOutputStream_t bytes;
        DataOutputStream_t out(bytes);
        out.WriteInt32(row.count);
        for (const auto& [name, content] : row.files) TestPolicy::WriteEntry(out, name, content);
        EXPECT_EQ(Install(bytes.ToCharArray()).id, 605u);
        EXPECT_EQ(Elsewhere(), before);
    }
    EXPECT_FALSE(fs::exists("/tmp/lumtest-forbidden_header.xml"));
}

TEST_F(InstallHostileTest, ARefusedNameIsShownInTheDetails) {
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    out.WriteInt32(1);
    TestPolicy::WriteEntry(out, "../evil_header.xml", "x");
    EXPECT_NE(Install(bytes.ToCharArray()).text.find("'../evil_header.xml' is refused"), std::string::npos);
}

TEST_F(InstallHostileTest, LengthsThatAreNotThereAreRefusedAndTakeNoMemory) {
    for (const std::int32_t length : {-1, INT32_MIN, INT32_MAX, 100}) {
        CharArrayOutputStream_t bytes;
        DataOutputStream_t out(bytes);
        out.WriteInt32(1);
        out.WriteUTF16String("a_header.xml");
        out.WriteInt32(length);
        out.Write("<x/>", 4);
        EXPECT_EQ(Install(bytes.ToCharArray()).id, 605u) << length;
    }
}

/// A header whose names come from outside as well: id, type, data file.
struct HeaderRow {
    const char* what;
    const char* id;
    const char* type;
    const char* file;
};

const std::string kLong(300, 'n');

const HeaderRow kHeaders[] = {
    {"an id that leaves", "../../x", "files", "one"},
    {"an id that is a path", "/tmp/x", "files", "one"},
    {"an id with a folder", "x/y", "files", "one"},
    {"an id with the other separator", "x\\y", "files", "one"},
    {"no id", "", "files", "one"},
    {"an id that no file system takes", kLong.c_str(), "files", "one"},
    {"an id with a line end", "x&#10;y", "files", "one"},
    {"an id that is the folder above", "..", "files", "one"},
    {"a type that leaves", "x", "..", "one"},
    {"a type that leaves further", "x", "../../log", "one"},
    {"a type that is the folder", "x", ".", "one"},
    {"no type", "x", "", "one"},
    {"a type with a C1 character", "x", "t&#x85;", "one"},
    {"a type that no file system takes", "x", kLong.c_str(), "one"},
    {"a data file that leaves", "x", "files", "../../../../log/x"},
    {"a data file elsewhere", "x", "files", "/etc/passwd"},
    {"a data file that is the header on the way", "x", "files", "in_header.xml"},
    {"a data file that is another policy's header", "x", "files", "victim_header.xml"},
    {"no data file name", "x", "files", ""},
    {"the same data file twice", "x", "files", "two"},
};

TEST_F(InstallHostileTest, NamesInTheDocumentThatTheStoreCannotTakeAreRefusedAndCleanedUp) {
    TestPolicy victim;
    victim.id = "victim";
    node.Install(victim);
    WriteText(node.Root().Native() + "/log/x", "keep");
    const std::set<std::string> before = Elsewhere();
    for (const HeaderRow& row : kHeaders) {
        SCOPED_TRACE(row.what);
        TestPolicy policy;
        policy.id = row.id;
        policy.name = "Hostile";
        policy.type = row.type;
        policy.data = {{row.file, ""}, {"two", ""}};
        policy.document = policy.Document();
        policy.headerName = "in_header.xml";
        policy.data = {{"one", "1"}, {"two", "2"}};
        const CaughtFailure failure = Install(policy.Array());
        EXPECT_EQ(failure.id, 0u);
        EXPECT_NE(failure.text.find("is refused"), std::string::npos) << failure.text;
        EXPECT_EQ(Elsewhere(), before);
        EXPECT_EQ(node.Incoming().count("in_header.xml"), 0u);
        EXPECT_EQ(node.Incoming().count("two"), 0u) << "the header names it";
    }
    EXPECT_EQ(node.Ids(), "victim");
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/log/x"), "keep");
    EXPECT_EQ(node.Audited("(name: 'Hostile'"), static_cast<int>(std::size(kHeaders)));
}

TEST_F(InstallHostileTest, ARefusedNameCannotMakeTheCleanUpDeleteAFileElsewhere) {
    WriteText(node.IncomingFolder() + "/../outside", "keep");
    TestPolicy policy = Policy();
    policy.data = {{"../outside", ""}};
    policy.document = policy.Document();
    policy.data.clear();
    EXPECT_EQ(Install(policy.Array()).id, 0u);
    EXPECT_EQ(PolicyNode::Content(node.IncomingFolder() + "/../outside"), "keep");
}

TEST_F(InstallHostileTest, AFileBehindALinkInTheIncomingDirectoryIsNotWritten) {
    WriteText(node.Root().Native() + "/victim", "keep");
    fs::create_symlink(node.Root().Native() + "/victim", node.IncomingFolder() + "/a_header.xml");
    fs::create_symlink(node.Root().Native() + "/victim", node.IncomingFolder() + "/one");
    node.Install(Policy());
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/victim"), "keep");
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(InstallHostileTest, AControlCharacterInANameOfAPolicyForgesNoLineOfTheAudit) {
    TestPolicy policy = Policy();
    policy.name = "x&#10;2026-01-01T00:00:00 INFO forged";
    node.Install(policy);
    EXPECT_EQ(node.AuditText().find("\n2026-01-01T00:00:00 INFO forged"), std::string::npos);
    EXPECT_EQ(node.Audited("forged"), 1);
}

TEST_F(InstallHostileTest, BytesBehindTheArrayAreNotLookedAt) {
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    Policy().WriteArray(out);
    out.Write("more", 4);
    EXPECT_EQ(Install(bytes.ToCharArray()).id, 0u);
    EXPECT_EQ(node.Ids(), "a");
}

}  // namespace
}  // namespace LumConf
