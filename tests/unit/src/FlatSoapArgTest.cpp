#include "FlatSoapArg.h"

#include <gtest/gtest.h>

#include <vector>

#include "SoapText.h"
#include "TraceLines.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

/// Knows the children "one" and "two" and keeps what it was given of them, in order.
class RecordingArg : public FlatSoapArg {
public:
    RecordingArg() : FlatSoapArg("Argument") {}
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override { WriteChild(writer, "one", "1"); }
    std::string Stored() const { return stored; }

protected:
    int StateOfChild(const String_t& localName) const override {
        return localName == "one" ? 2 : localName == "two" ? 3 : 0;
    }
    void StoreChild(int state, const String_t& text) override {
        stored += (state == 2 ? "one:" : "two:") + text.ToUtf8() + ";";
    }

private:
    std::string stored;
};

struct ReadRow {
    const char* what;
    const char* inside;
    const char* stored;
};

const ReadRow kReadRows[] = {
    {"no child at all", "", ""},
    {"every child with its text", "<one>1</one><two>2</two>", "one:1;two:2;"},
    {"any order, and repeated", "<two>2</two><one>1</one><two>3</two>", "two:2;one:1;two:3;"},
    {"an empty child", "<one/><two></two>", "one:;two:;"},
    {"text is not trimmed", "<one>  1\n\t</one>", "one:  1\n\t;"},
    {"text between the children is dropped", "x<one>1</one>y<two>2</two>z", "one:1;two:2;"},
    {"entities, CDATA and references are joined", "<one>a&lt;<![CDATA[&b]]>&#x20AC;&amp;</one>",
     "one:a<&b\xE2\x82\xAC&;"},
    {"a comment parts the text in two pieces", "<one>a<!-- x -->b</one>", "one:ab;"},
    {"attributes of children do not matter", "<one kind='x'>1</one>", "one:1;"},
    {"the local name counts, not the prefix", "<p:one xmlns:p='urn:p'>1</p:one><two xmlns='urn:q'>2</two>",
     "one:1;two:2;"},
    {"case matters", "<One>1</One><TWO>2</TWO>", ""},
    {"an unknown child with text, before and behind known ones", "<one>1</one><new>x</new><two>2</two>",
     "one:1;two:2;"},
    {"an unknown child in an unknown child", "<new>a<newer>b</newer>c</new><one>1</one>", "one:1;"},
    {"unknown children four deep", "<a>1<b>2<c>3<d>4</d>5</c>6</b>7</a><two>2</two>", "two:2;"},
    {"two unknown children in an unknown one", "<a><b>1</b><b>2</b></a><one>1</one>", "one:1;"},
    {"an unknown child that bears the argument's name", "<Argument>x</Argument><one>1</one>", "one:1;"},
    {"an unknown element inside a known child ends its text", "<one>a<new>b</new>c</one><two>2</two>", "one:;two:2;"},
    // What follows from counting depth and remembering one state; peers read the same way.
    {"a known child in an unknown one is taken when that ends", "<new><one>1</one></new><two>2</two>", "one:1;two:2;"},
    {"a known child in a known one ends the argument", "<one>a<two>2</two>b</one><two>lost</two>", "two:2;"},
};

TEST(FlatSoapArg, ReadsItsChildrenWhateverStandsAmongThem) {
    for (const ReadRow& row : kReadRows) {
        RecordingArg argument;
        ReadArgument(argument, row.inside);
        EXPECT_EQ(argument.Stored(), row.stored) << row.what;
        EXPECT_TRUE(argument.HasArrived()) << row.what;
    }
}

TEST(FlatSoapArg, AnotherElementBeforeTheArgumentIsPassedOver) {
    RecordingArg argument;
    EXPECT_EQ(argument.StartElement("", "Other", ""), &argument);
    argument.Characters(u"text", 0, 4);
    argument.EndElement("", "Other", "");
    argument.StartElement("", "one", "");
    argument.Characters(u"1", 0, 1);
    argument.EndElement("", "one", "");
    EXPECT_FALSE(argument.HasArrived());
    EXPECT_EQ(argument.Stored(), "");
    ReadArgument(argument, "<one>1</one>");
    EXPECT_EQ(argument.Stored(), "one:1;");
}

TEST(FlatSoapArg, TextMayArriveInPiecesFromTheMiddleOfABuffer) {
    RecordingArg argument;
    argument.StartElement("", "Argument", "");
    argument.StartElement("", "one", "");
    argument.Characters(u"xxab", 2, 2);
    argument.Characters(u"cxx", 0, 1);
    argument.Characters(u"", 0, 0);
    argument.EndElement("", "one", "");
    argument.EndElement("", "Argument", "");
    EXPECT_EQ(argument.Stored(), "one:abc;");
}

TEST(FlatSoapArg, EveryEventOfTheChildrenComesBackToTheArgument) {
    RecordingArg argument;
    for (const char* name : {"Argument", "one", "new", "newer"}) {
        EXPECT_EQ(argument.StartElement("", name, ""), &argument) << name;
    }
}

TEST(FlatSoapArg, KeepsItsOwnPrefixAndNamespaceWhileChildrenPass) {
    RecordingArg argument;
    ReadMessage(argument,
                "<p:Argument xmlns:p='urn:p'><q:one xmlns:q='urn:q'>1</q:one><q:x xmlns:q='urn:q'/></p:Argument>");
    EXPECT_EQ(argument.GetPrefix(), "p");
    EXPECT_EQ(argument.GetNamespaceUri(), "urn:p");
    EXPECT_EQ(argument.Stored(), "one:1;");
}

TEST(FlatSoapArg, AnUnknownChildIsTraced) {
    TraceLines trace;
    RecordingArg argument;
    ReadArgument(argument, "<one>1</one>");
    EXPECT_FALSE(trace.Contains("is ignored"));
    ReadArgument(argument, "<future>x</future>");
    EXPECT_TRUE(trace.Contains("unknown element 'future' in 'Argument' is ignored"));
}

TEST(FlatSoapArg, ReadsAnotherMessageAfterTheEndOfTheFirst) {
    RecordingArg argument;
    ReadArgument(argument, "<one>1</one>");
    ReadArgument(argument, "<two>2</two>");
    EXPECT_EQ(argument.Stored(), "one:1;two:2;");
}

TEST(FlatSoapArg, AnArgumentThatComesTwiceMakesTheMessageMalformed) {
    RecordingArg argument;
    EXPECT_THROW(ReadMessage(argument, "<Argument/><Argument/>"), LumVoxSoap::SOAPFormatException);
}

TEST(FlatSoapArg, AMessageThatIsCutIsRefusedAtEveryByte) {
    const std::string text = SoapMessage("<Argument><one>1</one><new>x</new><two>2</two></Argument>");
    LumVoxSoap::SOAPEnvelope envelope;
    for (std::size_t length = 0; length < text.size(); ++length) {
        RecordingArg argument;
        LumVoxSoap::SOAPArg* const arguments[] = {&argument};
        const LumPalArray::CharArray_t bytes(text.data(), length);
        EXPECT_THROW(envelope.Read(LumPalIo::CharArrayInputStream_t::Over(bytes), 1, arguments),
                     LumPalMsg::RuntimeException_t)
            << length;
    }
}

TEST(FlatSoapArg, WritesChildrenEscaped) {
    class Writer : public RecordingArg {
    public:
        void WriteContent(LumPalXml::XmlWriter_t& writer) const override {
            WriteChild(writer, "one", "a<&>b");
            WriteChild(writer, "two", "");
            WriteChild(writer, "two", String_t::Null());
        }
    } argument;
    EXPECT_EQ(Written(argument), "<one>a&lt;&amp;&gt;b</one><two></two><two></two>");
}

}  // namespace
}  // namespace LumConf
