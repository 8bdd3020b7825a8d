#include <gtest/gtest.h>

#include "LumVoxSoap.h"
#include "SoapFault.h"
#include "SoapPeek.h"
#include "SoapReader.h"

using namespace LumVoxSoap;
using LumPalStr::String_t;

namespace {

LumPalIo::InputStream_t Over(std::string_view text) {
    return LumPalIo::CharArrayInputStream_t(LumPalArray::CharArray_t(text.data(), text.size()));
}

std::string Written(const SOAPEnvelope& envelope) {
    LumPalIo::CharArrayOutputStream_t out;
    envelope.Write(out);
    return std::string(out.ToCharArray().View());
}

std::string Body(const std::string& inside) {
    return "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body>" + inside +
           "</e:Body></e:Envelope>";
}

std::string Deep(int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) text += "<d>";
    for (int i = 0; i < levels; ++i) text += "</d>";
    return text;
}

/// Reads with one int and one string argument, which most tests need.
struct Reader {
    int number = -1;
    String_t text{"unset"};
    SOAPArgInt numberArg{"number", &number};
    SOAPArgUnicodeString textArg{"text", &text};
    SOAPEnvelope envelope;
    void Read(const std::string& message) {
        SOAPArg* const args[] = {&numberArg, &textArg};
        envelope.Read(Over(message), 2, args);
    }
};

/// An argument with elements inside, in the way of the structured arguments.
class Structure : public SOAPArg {
public:
    using SOAPArg::SOAPArg;
    bool refuses = false;
    std::string seen;
    bool RefusesUnknown() const override { return refuses; }
    void WriteContent(LumPalXml::XmlWriter_t&) const override {}
    SOAPElement* StartElement(const String_t& prefix, const String_t& name, const String_t& uri) override {
        if (name != GetName() && name != "known") return nullptr;
        seen += "<" + name.ToUtf8() + ">";
        return SOAPArg::StartElement(prefix, name, uri);
    }
    void EndElement(const String_t& prefix, const String_t& name, const String_t& uri) override {
        seen += GetCharacters().ToUtf8() + "</" + name.ToUtf8() + ">";
        SOAPArg::EndElement(prefix, name, uri);
        SOAPArg::StartElement(prefix, GetName(), uri);
    }
};

struct Refusal {
    const char* what;
    const char* code;
    std::string message;
};
struct RefusedEnvelope : testing::TestWithParam<Refusal> {};

}  // namespace

TEST(SoapEnvelope, IsWrittenWithUnqualifiedArgumentsInOrder) {
    SOAPArgInt number("number", -3);
    SOAPArgUnicodeString text("text", String_t(u"a<b>&\u00e4"));
    SOAPArgByteArray bytes("bytes", LumPalArray::CharArray_t("foo"));
    number.SetTypeAttribute();
    text.SetTypeAttribute();
    SOAPArg* const args[] = {&number, &text, &bytes};
    SOAPEnvelope envelope;
    envelope.SetMethod("policyOp");
    envelope.SetArgs(3, args);
    EXPECT_EQ(Written(envelope),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
              "<soap:Envelope xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\""
              " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">"
              "<soap:Body><m:policyOp xmlns:m=\"urn:lum:conf\">"
              "<number xsi:type=\"xsd:int\">-3</number>"
              "<text xsi:type=\"xsd:string\">a&lt;b&gt;&amp;\xC3\xA4</text>"
              "<bytes>Zm9v</bytes>"
              "</m:policyOp></soap:Body></soap:Envelope>");
}

TEST(SoapEnvelope, AStructureHasNoTypeAttribute) {
    Structure structure("policies");
    structure.SetTypeAttribute();
    SOAPArg* const args[] = {&structure};
    SOAPEnvelope envelope;
    envelope.SetMethod("m");
    envelope.SetArgs(1, args);
    EXPECT_NE(Written(envelope).find("<policies></policies>"), std::string::npos);
}

TEST(SoapEnvelope, ATextThatXmlCannotCarryIsRefusedInARequestAndCleanedInAnAnswer) {
    SOAPArgUnicodeString text("text", String_t(u"a\x01"
                                               u"b"));
    SOAPArg* const args[] = {&text};
    SOAPEnvelope envelope;
    envelope.SetMethod("m");
    envelope.SetArgs(1, args);
    EXPECT_THROW(Written(envelope), LumPalMsg::IllegalArgumentError_t);
    LumPalIo::CharArrayOutputStream_t out;
    envelope.WriteCleaned(out);
    EXPECT_NE(std::string(out.ToCharArray().View())
                  .find("<text>a\xEF\xBF\xBD"
                        "b</text>"),
              std::string::npos);
}

TEST(SoapEnvelope, AMethodThatIsNoNameIsRefused) {
    for (const char* name : {"", "a b", "1a", "a>b", "a\r\nb"}) {
        SOAPEnvelope envelope;
        envelope.SetMethod(name);
        EXPECT_THROW(Written(envelope), LumPalMsg::IllegalArgumentError_t) << name;
    }
}

TEST(SoapEnvelope, WhatIsWrittenIsReadBack) {
    const String_t odd(u" \t\r\n]]> \"'<![CDATA[ \U0001F600 ");
    SOAPArgInt number("number", 5);
    SOAPArgUnicodeString text("text", odd);
    SOAPArg* const args[] = {&number, &text};
    SOAPEnvelope envelope;
    envelope.SetMethod("list");
    envelope.SetArgs(2, args);
    Reader reader;
    reader.Read(Written(envelope));
    EXPECT_EQ(reader.envelope.GetMethod(), "list");
    EXPECT_EQ(reader.number, 5);
    EXPECT_EQ(reader.text, odd);
}

TEST(SoapEnvelope, PrefixesAndNamespacesOfArgumentsDoNotMatter) {
    Reader reader;
    reader.Read(
        "<Envelope xmlns='http://schemas.xmlsoap.org/soap/envelope/'>\n <Header/>\n <Body>\n"
        "<x:m xmlns:x='urn:any'>\n <x:number x:t='1'> 7 </x:number>\n<text xmlns='urn:other'>t</text></x:m>\n"
        "</Body>\n</Envelope>\n");
    EXPECT_EQ(reader.envelope.GetMethod(), "m");
    EXPECT_EQ(reader.number, 7);
    EXPECT_EQ(reader.text, "t");
}

TEST(SoapEnvelope, ArgumentsMayComeInAnyOrderAndMayBeMissing) {
    Reader reader;
    reader.Read(Body("<m><text>t</text></m>"));
    EXPECT_EQ(reader.text, "t");
    EXPECT_EQ(reader.number, -1);
    EXPECT_FALSE(reader.numberArg.HasArrived());
}

TEST(SoapEnvelope, AnUnknownArgumentIsSkippedWholeWithWhatBearsAKnownName) {
    Reader reader;
    reader.Read(Body("<m><other>text <number>x</number><a><b>c</b></a></other><number>1</number></m>"));
    EXPECT_EQ(reader.number, 1);
}

TEST(SoapEnvelope, CommentsAndCharacterDataSectionsDoNotCutAText) {
    Reader reader;
    reader.Read(Body("<m><text>a<!-- no -->b<![CDATA[<c>]]>&#100;</text></m>"));
    EXPECT_EQ(reader.text, "ab<c>d");
}

TEST(SoapEnvelope, AStructureGetsWhatItKnowsAndNothingOfWhatItDrops) {
    Structure structure("s");
    SOAPArg* const args[] = {&structure};
    SOAPEnvelope envelope;
    envelope.Read(Over(Body("<m><s><known>1</known><no>2<known>3</known></no><known>4</known></s></m>")), 1, args);
    EXPECT_EQ(structure.seen, "<s><known>1</known><known>4</known></s>");
}

TEST(SoapEnvelope, AStructureThatRefusesWhatItDoesNotKnowFailsTheMessage) {
    Structure structure("s");
    structure.refuses = true;
    SOAPArg* const args[] = {&structure};
    EXPECT_THROW(SOAPEnvelope().Read(Over(Body("<m><s><no/></s></m>")), 1, args), SOAPFormatException);
}

TEST(SoapEnvelope, AHeaderEntryThatNeedNotBeUnderstoodIsSkipped) {
    Reader reader;
    reader.Read(
        "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Header><h e:mustUnderstand='0'>"
        "<number>9</number></h></e:Header><e:Body><m><number>1</number></m></e:Body></e:Envelope>");
    EXPECT_EQ(reader.number, 1);
}

TEST(SoapEnvelope, AThousandLevelsAreReadAndOneMoreIsRefused) {
    Reader reader;
    EXPECT_NO_THROW(reader.Read(Body("<m>" + Deep(997) + "</m>")));
    EXPECT_THROW(reader.Read(Body("<m>" + Deep(998) + "</m>")), LumPalXml::SAX::SAXParseException_t);
    EXPECT_THROW(reader.Read(Body("<m>" + Deep(100000) + "</m>")), LumPalXml::SAX::SAXParseException_t);
}

TEST_P(RefusedEnvelope, NamesTheFaultThatAnswersIt) {
    Reader reader;
    try {
        reader.Read(GetParam().message);
        FAIL() << "was read";
    } catch (const SoapRefusal& refusal) {
        EXPECT_STREQ(refusal.GetFaultCode(), GetParam().code);
    }
}
INSTANTIATE_TEST_SUITE_P(
    SoapEnvelope, RefusedEnvelope,
    testing::Values(
        Refusal{"another namespace", "VersionMismatch",
                "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope'><e:Body><m/></e:Body></e:Envelope>"},
        Refusal{"no namespace", "VersionMismatch", "<Envelope><Body><m/></Body></Envelope>"},
        Refusal{"another root", "Client", "<e:Body xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><m/></e:Body>"},
        Refusal{"a body without a child", "Client", Body("")},
        Refusal{"no body", "Client", "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'/>"},
        Refusal{"a second child of the body", "Client", Body("<m/><n/>")},
        Refusal{"text beside the method", "Client", Body("<m/>text")},
        Refusal{"text beside the arguments", "Client", Body("<m><number>1</number>text</m>")},
        Refusal{"an argument that comes twice", "Client", Body("<m><number>1</number><number>2</number></m>")},
        Refusal{"a body in another namespace", "Client",
                "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><Body><m/></Body></e:Envelope>"},
        Refusal{"a header behind the body", "Client",
                "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m/></e:Body><e:Header/>"
                "</e:Envelope>"},
        Refusal{"a second header", "Client",
                "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Header/><e:Header/>"
                "<e:Body><m/></e:Body></e:Envelope>"},
        Refusal{"a second body", "Client",
                "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><m/></e:Body><e:Body/>"
                "</e:Envelope>"},
        Refusal{"a processing instruction", "Client", Body("<m><?php x?></m>")},
        Refusal{"a processing instruction before the envelope", "Client", "<?xml-stylesheet href='x'?>" + Body("<m/>")},
        Refusal{"a header entry that must be understood", "MustUnderstand",
                "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Header>"
                "<h e:mustUnderstand='1'/></e:Header><e:Body><m/></e:Body></e:Envelope>"}),
    [](const testing::TestParamInfo<Refusal>& row) {
        std::string name = row.param.what;
        for (char& c : name)
            if (c == ' ') c = '_';
        return name;
    });

TEST(SoapEnvelope, WhatIsNoXmlIsRefusedByTheParser) {
    const std::string whole = Body("<m><number>1</number></m>");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Reader reader;
        EXPECT_THROW(reader.Read(whole.substr(0, length)), LumPalXml::SAX::SAXParseException_t) << length;
    }
    for (const std::string& message :
         {"<!DOCTYPE x>" + whole, "<!DOCTYPE x [<!ENTITY a 'b'>]>" + Body("<m>&a;</m>"), Body("<m>&a;</m>"),
          Body("<x:m/>"), Body("<m><text>\xFF</text></m>"), Body(std::string("<m>\0</m>", 8)), whole + "x"}) {
        Reader reader;
        EXPECT_THROW(reader.Read(message), LumPalXml::SAX::SAXParseException_t) << message;
    }
}

TEST(SoapEnvelope, NoTextOfAnArgumentVanishes) {
    const std::string call = Body("<m>\n<text>ab&e;cd</text></m>"), inValue = Body("<m>\n<text k='1&e;2'/></m>");
    const struct {
        const char* says;
        std::string type;
        int line;
    } rows[] = {
        {"an entity that is not declared", "", 2},
        {"an external entity", "\n<!DOCTYPE x [<!ENTITY e SYSTEM 's'>]>", 2},
        {"one of a parameter entity", "\n<!DOCTYPE x [<!ENTITY % p \"<!ENTITY e 'x'>\">%p;]>", 2},
        {"one of an external parameter entity", "\n<!DOCTYPE x [<!ENTITY % p SYSTEM 's'>%p;]>", 2},
        {"one behind an external subset", "\n<!DOCTYPE x SYSTEM 's'>", 2},
    };
    for (const auto& row : rows) {
        for (const std::string& body : {call, inValue}) {
            Reader reader;
            try {
                reader.Read("<?xml version='1.0'?>" + row.type + body);
                ADD_FAILURE() << "was read: " << row.says;
            } catch (const LumPalXml::SAX::SAXParseException_t& e) {
                EXPECT_EQ(e.GetLineNumber(), row.line) << row.says;
                EXPECT_GT(e.GetColumnNumber(), 0) << row.says;
            }
            EXPECT_EQ(reader.text, "unset") << row.says;
        }
    }
}

TEST(SoapEnvelope, AMarkThatIsNotThatOfTheDeclaredEncodingIsRefused) {
    const std::string mark = "\xEF\xBB\xBF", call = Body("<m><text>\xC3\xA9</text></m>");
    for (const char* encoding : {"ISO-8859-1", "US-ASCII", "UTF-16"}) {
        const std::string message = mark + "<?xml version='1.0' encoding='" + encoding + "'?>" + call;
        EXPECT_THROW(Reader().Read(message), LumPalXml::SAX::SAXParseException_t) << encoding;
    }
    Reader reader;
    reader.Read(mark + "<?xml version='1.0' encoding='utf-8'?>" + call);
    EXPECT_EQ(reader.text, String_t(u"\u00e9"));
}

TEST(SoapEnvelope, ABadValueFailsTheMessage) {
    Reader reader;
    EXPECT_THROW(reader.Read(Body("<m><number>many</number></m>")), SOAPFormatException);
    EXPECT_THROW(Reader().Read(Body("<m><number><x/>1</number></m>")), SOAPFormatException);
}

TEST(SoapFault, IsWrittenCleanedAndReadBackWithCodeAndText) {
    LumPalIo::CharArrayOutputStream_t out;
    WriteFault(out, "Client", String_t(u"<what> \x02 \u00fc"));
    try {
        Reader().Read(std::string(out.ToCharArray().View()));
        FAIL();
    } catch (const SOAPFaultException& fault) {
        EXPECT_EQ(fault.GetMessageList().GetMessage(0).GetMessageText(),
                  String_t(u"The peer answered with the fault 'soap:Client': <what> \uFFFD \u00fc"));
    }
}

TEST(SoapFault, WithDetailsIsAFaultAllTheSame) {
    EXPECT_THROW(Reader().Read(Body("<e:Fault><faultcode>e:Server</faultcode><faultstring>no</faultstring>"
                                    "<detail><number>1</number>text</detail></e:Fault>")),
                 SOAPFaultException);
}

TEST(SoapFault, OfAnotherNamespaceIsAMethod) {
    Reader reader;
    reader.Read(Body("<Fault><number>1</number></Fault>"));
    EXPECT_EQ(reader.envelope.GetMethod(), "Fault");
    EXPECT_EQ(reader.number, 1);
}

TEST(SoapPeek, FindsTheMethodAndReadsNoFurther) {
    EXPECT_EQ(PeekMethod(Over(Body("<x:install xmlns:x='urn:lum:conf'><broken"))), "install");
    EXPECT_EQ(PeekMethod(Over("<?xml version='1.0'?>" + Body("<list/>"))), "list");
}

TEST(SoapPeek, RefusesWhatIsNoEnvelopeUpToTheMethod) {
    EXPECT_THROW(PeekMethod(Over("")), LumPalXml::SAX::SAXParseException_t);
    EXPECT_THROW(PeekMethod(Over("<!DOCTYPE x>" + Body("<m/>"))), LumPalXml::SAX::SAXParseException_t);
    EXPECT_THROW(PeekMethod(Over("<a/>")), SOAPFormatException);
    EXPECT_THROW(PeekMethod(Over(Body(""))), SOAPFormatException);
    EXPECT_THROW(PeekMethod(Over(Body("text<m/>"))), SOAPFormatException);
}
