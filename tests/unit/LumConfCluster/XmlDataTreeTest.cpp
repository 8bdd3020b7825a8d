#include "LumConfCluster/XmlDataTree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "Exceptions.h"
#include "Files.h"
#include "Raised.h"
#include "TempRoot.h"
#include "Tenfold.h"
#include "XmlHandler.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterXmlDataTreeException;
using LumPalStr::String_t;
using LumPalXml::SAX::Attributes_i;

/// A tree of a text.
class XmlDataTreeTest : public testing::Test {
protected:
    void Load(const std::string& text) {
        WriteText(Path(), text);
        tree.Load(File());
    }
    std::string Path() const { return root.Native() + "/file.xml"; }
    LumPalIo::File_t File() const { return LumPalIo::File_t(String_t::FromUtf8(Path())); }

    TempRoot root;
    XmlDataTree tree;
};

std::string Repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

TEST_F(XmlDataTreeTest, TheTreeIsANamelessNodeAboveTheDocumentsElement) {
    Load("<?xml version='1.0'?><a><b>one</b><c/><b>two</b></a>");
    EXPECT_EQ(tree.GetName(), "");
    ASSERT_EQ(tree.ChildrenCount(), 1);
    EXPECT_EQ(tree[0].GetName(), "a");
    ASSERT_EQ(tree[0].ChildrenCount(), 3);
    EXPECT_EQ(tree[0][1].GetName(), "c");
    EXPECT_EQ(tree[0][2].GetValue(), "two");
    EXPECT_EQ(tree[0]["b"].GetValue(), "one") << "the first one of a name";
}

TEST_F(XmlDataTreeTest, ANameIsLookedUpRegardlessOfCase) {
    Load("<a><Name>x</Name></a>");
    EXPECT_EQ(tree[0]["NAME"].GetValue(), "x");
    EXPECT_EQ(tree["A"]["name"].GetName(), "Name");
}

TEST_F(XmlDataTreeTest, AChildThatIsNotThereIsAnError) {
    Load("<a><b/></a>");
    EXPECT_EQ(String_t(MessagesOf<ClusterXmlDataTreeException>([&] { tree[0]["None"]; })),
              "><No such element [None] in the collection.");
    for (const int index : {1, -1}) {
        EXPECT_EQ(String_t(MessagesOf<ClusterXmlDataTreeException>([&] { tree[0][index]; })),
                  "><Index is out of range.");
    }
}

TEST_F(XmlDataTreeTest, AnEmptyDocumentElementHasNoChildren) {
    Load("<a/>");
    EXPECT_EQ(tree[0].ChildrenCount(), 0);
    EXPECT_EQ(tree[0].GetValue(), "");
    EXPECT_EQ(tree[0].GetNumAttributes(), 0);
    EXPECT_EQ(tree[0].GetAttributes(), nullptr);
}

TEST_F(XmlDataTreeTest, TextAroundAChildIsJoinedAndTrimmed) {
    Load("<a>  one  <b> inner </b>  two  </a>");
    EXPECT_EQ(tree[0].GetValue(), "one  two") << "the blanks before the join go, those behind it stay";
    EXPECT_EQ(tree[0]["b"].GetValue(), "inner");
}

TEST_F(XmlDataTreeTest, TheTextIsTrimmedBehindEachPieceThatTheParserTells) {
    XmlDataTree filled;
    XmlHandler handler(&filled);
    class None : public Attributes_i {
        int GetCount() const override { return 0; }
        String_t GetUri(int) const override { return {}; }
        String_t GetLocalName(int) const override { return {}; }
        String_t GetQName(int) const override { return {}; }
        String_t GetValue(int) const override { return {}; }
    } none;
    const auto tell = [&](const char16_t* text) {
        handler.Characters(text, 0, static_cast<std::uint32_t>(std::char_traits<char16_t>::length(text)));
    };
    handler.StartDocument();
    handler.StartElement("", "a", "", none);
    for (const char16_t* piece : {u" \n", u"  one ", u"two\t", u" ", u" three four ", u"", u"\u2003"}) tell(piece);
    EXPECT_EQ(filled[0].GetValue(), "onetwo three four");
    handler.Characters(u"xx five yy", 2, 6);
    EXPECT_EQ(filled[0].GetValue(), "onetwo three four five");
}

TEST_F(XmlDataTreeTest, ABlankStaysWhereverItStandsInAFile) {
    const std::string line = "/bin/rm -rf /srv/a \t /srv/b";
    const std::size_t block = 65536;
    for (const std::size_t end : {4096 + block, block, 2 * block}) {
        for (std::size_t before = end - line.size() - 8; before < end + 2; ++before) {
            XmlDataTree filled;
            WriteText(Path(), "<a k='" + std::string(before - 14, 'x') + "'><b> " + line + " </b></a>");
            filled.Load(File());
            ASSERT_EQ(filled[0][0].GetValue(), String_t::FromUtf8(line)) << before;
        }
    }
}

TEST_F(XmlDataTreeTest, TheBlanksOfALongTextStay) {
    std::string words;
    for (int i = 0; i < 30000; ++i) words += std::string(static_cast<std::size_t>(i % 7), ' ') + "word";
    Load("<a>" + words + "</a>");
    EXPECT_EQ(tree[0].GetValue(), String_t::FromUtf8(words));
}

TEST_F(XmlDataTreeTest, AttributesAreKeptInPairs) {
    Load("<a one='1' two=' 2 '><b x=''/></a>");
    ASSERT_EQ(tree[0].GetNumAttributes(), 2);
    const String_t* const attributes = tree[0].GetAttributes();
    EXPECT_EQ(attributes[0], "one");
    EXPECT_EQ(attributes[1], "1");
    EXPECT_EQ(attributes[2], "two");
    EXPECT_EQ(attributes[3], " 2 ");
    EXPECT_EQ(tree[0][0].GetNumAttributes(), 1);
}

TEST_F(XmlDataTreeTest, NamesAreThoseWithoutPrefix) {
    Load("<p:a xmlns:p='urn:x'><p:b/></p:a>");
    EXPECT_EQ(tree[0].GetName(), "a");
    EXPECT_EQ(tree[0]["B"].GetName(), "b");
}

TEST(XmlDataNode, CopiesShareChildrenAndHaveAttributesOfTheirOwn) {
    XmlDataNode node;
    node.SetAttributes(new String_t[2]{"key", "value"}, 1);
    XmlDataNode copy = node;
    node.AddChildNode(XmlDataNode());
    EXPECT_EQ(copy.ChildrenCount(), 1) << "a child that is added to one shows in the other";
    copy.GetAttributes()[1] = "other";
    EXPECT_EQ(node.GetAttributes()[1], "value");
    node.SetAttributes(nullptr, 0);
    EXPECT_EQ(copy.GetNumAttributes(), 1);
    EXPECT_EQ(node.GetNumAttributes(), 0);
}

TEST(XmlDataNode, AssignmentSharesLikeACopyAndToItselfDoesNothing) {
    XmlDataNode node;
    node.SetAttributes(new String_t[2]{"key", "value"}, 1);
    node.AddChildNode(XmlDataNode());
    XmlDataNode other;
    other.AddChildNode(XmlDataNode());
    other.AddChildNode(XmlDataNode());
    other = node;
    EXPECT_EQ(other.ChildrenCount(), 1);
    EXPECT_EQ(other.GetAttributes()[0], "key");
    XmlDataNode& same = node;
    node = same;
    EXPECT_EQ(node.GetAttributes()[1], "value");
    EXPECT_EQ(node.ChildrenCount(), 1);
}

TEST(XmlDataNode, MayBecomeOneOfItsOwnChildren) {
    XmlDataNode node;
    XmlDataNode child;
    child.SetAttributes(new String_t[2]{"key", "value"}, 1);
    node.AddChildNode(child);
    node = node[0];
    EXPECT_EQ(node.GetAttributes()[1], "value");
    EXPECT_EQ(node.ChildrenCount(), 0);
}

TEST(XmlDataNode, TheSameArrayOfAttributesMayBeSetAgain) {
    XmlDataNode node;
    node.SetAttributes(new String_t[4]{"a", "1", "b", "2"}, 2);
    node.SetAttributes(node.GetAttributes(), 1);
    EXPECT_EQ(node.GetNumAttributes(), 1);
    EXPECT_EQ(node.GetAttributes()[1], "1");
    node.SetAttributes(new String_t[2], -1);
    EXPECT_EQ(node.GetNumAttributes(), 0);
    EXPECT_EQ(node.GetAttributes(), nullptr);
}

TEST(XmlDataNode, ChildrenKeepTheirPlacesWhenMoreAreAdded) {
    XmlDataNode node;
    node.AddChildNode(XmlDataNode());
    XmlDataNode& first = node[0];
    for (int i = 0; i < 1000; ++i) node.AddChildNode(XmlDataNode());
    EXPECT_EQ(&first, &node[0]) << "its children point at it";
}

TEST_F(XmlDataTreeTest, AThousandSiblingsWithChildrenAreReadEachInItsPlace) {
    Load("<a>" + Repeated("<b><c>x</c><c>y</c></b>", 1000) + "</a>");
    ASSERT_EQ(tree[0].ChildrenCount(), 1000);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(tree[0][i].ChildrenCount(), 2);
        EXPECT_EQ(tree[0][i][1].GetValue(), "y");
    }
}

TEST_F(XmlDataTreeTest, AFileThatIsNotThereKeepsItsKindOfFailure) {
    const auto messages = MessagesOf<LumPalIo::FileNotFoundException_t>([&] { tree.Load(File()); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 671u);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Info);
    EXPECT_EQ(String_t(messages), "Cannot parse xml file '" + File().ToString() + "'. File could not be found.");
    EXPECT_EQ(messages.GetMessage(0).GetDetails().GetMessageCount(), 1);
}

TEST_F(XmlDataTreeTest, WhatIsNoXmlIsToldWithItsPlaceAndWhatWasReadBeforeStays) {
    const auto messages = MessagesOf<ClusterXmlDataTreeException>([&] { Load("<a>\n<b/>\n  <c>"); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 352u);
    const std::string text = String_t(messages).ToUtf8();
    EXPECT_TRUE(text.starts_with("Error while parsing xml file '" + Path() + "'. Parse error in line '3', column '"))
        << text;
    EXPECT_NE(text.find("' with publicId '' and systemId ''."), text.npos) << text;
    EXPECT_EQ(tree[0].ChildrenCount(), 2);
}

TEST_F(XmlDataTreeTest, TextsThatAreNoXmlAreRefused) {
    for (const char* text : {"", " ", "no", "<a>", "<a></b>", "<a/><b/>", "<a b></a>", "<a>&none;</a>", "<a>\x01</a>",
                             "<a>\xFF</a>", "<a b='1' b='2'/>", "\xEF\xBB\xBF"}) {
        EXPECT_RAISES(Load(text), ClusterXmlDataTreeException, 352);
    }
}

TEST_F(XmlDataTreeTest, AFolderOrAPipeInPlaceOfTheFileIsAFailureOfAnotherKind) {
    WriteText(Path() + "/inside");
    const auto messages = MessagesOf<LumConf::PolicyHeaderException>([&] { tree.Load(File()); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 354u);
    EXPECT_EQ(String_t(messages), "Runtime exception while reading xml file: '" + File().ToString() + "'.");
    EXPECT_EQ(messages.GetMessage(0).GetDetails().GetMessageCount(), 1);
    std::filesystem::remove_all(Path());
    ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
    EXPECT_RAISES(tree.Load(File()), LumConf::PolicyHeaderException, 354);
}

TEST_F(XmlDataTreeTest, ElementsAThousandDeepAreReadAndDeeperOnesRefused) {
    Load(Repeated("<a>", 1000) + Repeated("</a>", 1000));
    tree = XmlDataTree();
    EXPECT_RAISES(Load(Repeated("<a>", 1001) + Repeated("</a>", 1001)), ClusterXmlDataTreeException, 352);
    EXPECT_RAISES(Load(Repeated("<a>", 1000000)), ClusterXmlDataTreeException, 352);
}

TEST_F(XmlDataTreeTest, AHugeFileIsRefusedBeforeItIsRead) {
    WriteText(Path(), "<a/>");
    std::filesystem::resize_file(Path(), 4 * 1024 * 1024 + 1);
    const auto messages = MessagesOf<LumConf::PolicyHeaderException>([&] { tree.Load(File()); });
    EXPECT_NE(messages.Format(LumPalMsg::Text | LumPalMsg::Details)
                  .ToUtf8()
                  .find("The file is refused. It may have at most '4194304' bytes."),
              std::string::npos);
    EXPECT_EQ(tree.ChildrenCount(), 0);
}

TEST_F(XmlDataTreeTest, EntitiesAreReadWhereTheyStandInTheFileAndRefusedWhereTheyDoNot) {
    Load("<!DOCTYPE a [<!ENTITY e 'text'>]><a>&e;</a>");
    EXPECT_EQ(tree[0].GetValue(), "text");
    WriteText(root.Native() + "/secret", "secret");
    for (const std::string& text :
         {"<!DOCTYPE a [<!ENTITY e SYSTEM 'file://" + root.Native() + "/secret'>]><a>&e;</a>",
          "<!DOCTYPE a SYSTEM '" + root.Native() + "/secret'><a>&e;</a>",
          "<!DOCTYPE a [<!ENTITY % p SYSTEM '" + root.Native() + "/secret'>%p;]><a/>",
          "<!DOCTYPE a [<!ENTITY b '" + std::string(1000, 'x') + "'><!ENTITY c '" + Repeated("&b;", 1000) +
              "'><!ENTITY d '" + Repeated("&c;", 1000) + "'>]><a>&d;</a>"}) {
        EXPECT_RAISES(Load(text), ClusterXmlDataTreeException, 352);
    }
}

TEST_F(XmlDataTreeTest, TenTimesTheElementsOrTheLinesOfATextCostTenTimesAsMuch) {
    for (const char* line : {"<b>x</b>", "a line of text \n", "&#32;x"}) {
        EXPECT_LT(TenfoldRatio(5000,
                               [&](int count) {
                                   WriteText(Path(), "<a>" + Repeated(line, count) + "</a>");
                                   return ProcessorSeconds([&] { XmlDataTree().Load(File()); });
                               }),
                  kMostForTenfold);
    }
}

TEST(XmlHandler, ADocumentWithoutATreeIsAnError) {
    const auto messages = MessagesOf<LumPalMsg::IllegalStateError_t>([] { XmlHandler(nullptr).StartDocument(); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 355u);
    EXPECT_EQ(String_t(messages), "XmlHandler is not initialized. Aborting!");
}

TEST(XmlHandler, TheEndOfAnotherElementThanTheOpenOneIsAnError) {
    XmlDataTree tree;
    XmlHandler handler(&tree);
    handler.StartDocument();
    const auto messages = MessagesOf<ClusterXmlDataTreeException>([&] { handler.EndElement("", "b", "b"); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 356u);
    EXPECT_EQ(String_t(messages), "Closing tag does not correspond to the opening one.");
}

}  // namespace
