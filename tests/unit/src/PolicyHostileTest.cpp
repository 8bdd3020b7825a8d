// Documents that mean harm: each fails cleanly or does no harm, and what follows works as ever.
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyContainer.h"
#include "PolicyDocs.h"
#include "TempRoot.h"

namespace {

using LumConf::PolicyHeader;
using LumPalStr::String_t;
using LumPalXml::SAX::SAXParseException_t;
using policydocs::Doc;
using policydocs::Parse;

std::string Repeated(const std::string& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

std::string WithDoctype(const std::string& subset, const Doc& doc) {
    std::string text = doc.Text();
    return text.insert(text.find("<header"), "<!DOCTYPE header [" + subset + "]>\n");
}

std::string EntityBomb() {
    std::string subset = "<!ENTITY e0 \"" + std::string(100, 'x') + "\">";
    for (int i = 1; i < 12; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        subset += "<!ENTITY e" + std::to_string(i) + " \"" + Repeated(before, 10) + "\">";
    }
    Doc doc;
    doc.description = "&e11;";
    return WithDoctype(subset, doc);
}

std::string QuadraticBomb() {
    Doc doc;
    doc.description = Repeated("&e;", 40000);
    return WithDoctype("<!ENTITY e \"" + std::string(40000, 'x') + "\">", doc);
}

std::string ManyLevels() {
    Doc doc;
    doc.inPolicy = Repeated("<a>", 10000) + Repeated("</a>", 10000);
    return doc.Text();
}

Doc Named(const std::string& name) {
    Doc doc;
    doc.name = name;
    return doc;
}

std::string WithName(const std::string& name) {
    return Named(name).Text();
}

TEST(HostilePolicy, EachMalformedDocumentIsRefusedAndTheNextOneIsRead) {
    const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"10,000 levels", ManyLevels()},
        {"10,000 open levels", Repeated("<a>", 10000)},
        {"an entity bomb", EntityBomb()},
        {"a quadratic bomb", QuadraticBomb()},
        {"an entity that holds itself", WithDoctype("<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">", Named("&a;"))},
        {"an unknown entity", WithName("&nothing;")},
        {"invalid UTF-8", WithName("\xC3\x28")},
        {"an overlong sequence", WithName("\xC0\xAF")},
        {"a surrogate in UTF-8", WithName("\xED\xA0\x80")},
        {"a NUL", WithName(std::string("a\0b", 3))},
        {"a control character", WithName("a\x01")},
        {"a reference to NUL", WithName("&#0;")},
        {"a reference to a surrogate", WithName("&#xD800;")},
        {"an unclosed tag", "<header"},
        {"two roots", Doc().Text() + "<header/>"},
        {"text behind the root", Doc().Text() + "x"},
        {"a NUL behind the root", Doc().Text() + std::string(1, '\0')},
        {"an unknown encoding", "<?xml version='1.0' encoding='none-such'?><header/>"},
        {"an unbound prefix", "<p:header/>"},
        {"crossed tags", "<a><policy></a></policy>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_THROW(Parse(row.text, ~0ul), SAXParseException_t);
        EXPECT_EQ(Parse(Doc().Text()).GetContainerId(), "p1");
    }
}

TEST(HostilePolicy, NoTextOfADocumentVanishes) {
    Doc inValue;
    inValue.inPolicy = "<x k=\"1&e;2\">t</x>";
    const auto withType = [](const std::string& type, const Doc& doc) {
        std::string text = doc.Text();
        return text.insert(text.find("<header"), "<!DOCTYPE header " + type + ">\n");
    };
    const Doc inText = Named("ab&e;cd");
    const struct {
        const char* name;
        std::string text;
        int line;
    } rows[] = {
        {"an external entity", WithDoctype("<!ENTITY e SYSTEM 'e.xml'>", inText), 7},
        {"with a public id", WithDoctype("<!ENTITY e PUBLIC 'p' 'e.xml'>", inText), 7},
        {"within another", WithDoctype("<!ENTITY e '&x;'><!ENTITY x SYSTEM 'e.xml'>", inText), 7},
        {"one of a parameter entity", WithDoctype("<!ENTITY % p \"<!ENTITY e 'x'>\">%p;", inText), 2},
        {"one of an external parameter entity", WithDoctype("<!ENTITY % p SYSTEM 'p.dtd'>%p;", inText), 2},
        {"one behind a parameter entity", WithDoctype("%p;<!ENTITY e 'x'>", inText), 2},
        {"one behind an external subset", withType("SYSTEM 'p.dtd'", inText), 2},
        {"one behind an external subset, in a value", withType("SYSTEM 'p.dtd'", inValue), 2},
        {"one behind a parameter entity, in a value", WithDoctype("%p;<!ENTITY e 'x'>", inValue), 2},
        {"an external entity in a value", WithDoctype("<!ENTITY e SYSTEM 'e.xml'>", inValue), 15},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const policydocs::PolicyFile file(row.text);
        const auto failure = file.ReadFailure(~0ul);
        EXPECT_EQ(failure.Id(), 88u);
        EXPECT_TRUE(failure.Says("line '" + std::to_string(row.line) + "', column '")) << failure.text;
        EXPECT_THROW(policydocs::Rewrite(row.text, Parse(Doc().Text())), SAXParseException_t);
    }
    EXPECT_EQ(Parse(WithDoctype("<!ENTITY e 'x'>", inText)).GetName(), "abxcd");
}

TEST(HostilePolicy, AMarkThatIsNotThatOfTheDeclaredEncodingIsRefused) {
    std::string text = WithName("\xC3\xA9");
    EXPECT_EQ(Parse("\xEF\xBB\xBF" + text).GetName(), String_t(u"\u00e9"));
    text.replace(text.find("UTF-8"), 5, "ISO-8859-1");
    EXPECT_THROW(Parse("\xEF\xBB\xBF" + text), SAXParseException_t);
}

TEST(HostilePolicy, ADocumentCutAnywhereIsRefused) {
    const std::string text = policydocs::TestDocument("complete_header.xml");
    const std::size_t end = text.rfind('>');
    for (std::size_t length = 0; length <= end; ++length)
        EXPECT_THROW(Parse(text.substr(0, length)), SAXParseException_t) << length;
}

TEST(HostilePolicy, NothingExternalIsRead) {
    const TempRoot root;
    policydocs::WriteFile(root.Native() + "/secret", "the secret");
    Doc doc;
    doc.description = "[&e;]";
    const std::string text = WithDoctype("<!ENTITY e SYSTEM \"file://" + root.Native() + "/secret\">", doc);
    try {
        Parse(text);
        FAIL() << "the document was read";
    } catch (const SAXParseException_t& e) {
        EXPECT_EQ(std::string(e.what()).find("the secret"), std::string::npos);
    }
}

TEST(HostilePolicy, FiftyMegabytesOfUnknownTextAreNotHeld) {
    Doc doc;
    doc.inPolicy = "<x>" + std::string(50u << 20, 'x') + "</x>";
    doc.inHeader = std::string(1u << 20, ' ');
    EXPECT_EQ(Parse(doc.Text()).GetContainerId(), "p1");
}

TEST(HostilePolicy, FiftyMegabytesInAFieldAreReadWhole) {
    Doc doc;
    doc.description = std::string(50u << 20, 'x');
    EXPECT_EQ(Parse(doc.Text()).GetDescription().GetLength(), 50u << 20);
}

TEST(HostilePolicy, AFileOfAnyOfThemNamesTheFile) {
    const TempRoot root;
    for (const std::string& text : {EntityBomb(), ManyLevels(), WithName("\xC3\x28"), std::string()}) {
        const auto path = policydocs::PutInStore("cron", "bad", text);
        const LumPalIo::File_t file(String_t::FromUtf8(path.string()));
        const auto failure =
            policydocs::Raised<LumConf::PolicyHeaderException>([&] { PolicyHeader::Read(file, ~0ul); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->Id(), 88u);
        EXPECT_TRUE(failure->Says("bad_header.xml"));
    }
}

TEST(HostilePolicy, ATextThatXmlCannotCarryLeavesNoFile) {
    const TempRoot root;
    const LumPalIo::File_t file(root.Path("new_header.xml"));
    const PolicyHeader header;
    header.SetName(String_t(u"a\u0001b"));
    EXPECT_THROW(PolicyHeader::Write(file, header), LumPalMsg::IllegalArgumentError_t);
    EXPECT_FALSE(file.Exists());
}

}  // namespace
