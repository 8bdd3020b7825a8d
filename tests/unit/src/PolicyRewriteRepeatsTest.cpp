// Rewriting policy documents in which elements stand over and over.
#include <gtest/gtest.h>

#include "PolicyDocs.h"
#include "RewriteChecks.h"

namespace {

using LumConf::PolicyHeader;
using LumPalStr::String_t;
using policydocs::Count;
using policydocs::Doc;
using policydocs::ExpectEqual;
using policydocs::Holds;
using policydocs::Parse;
using policydocs::Rewrite;

struct RepeatRow {
    const char* what;
    const char* element;  ///< stands in the document over and over
    std::string policydocs::Doc::*where;
};

class PolicyRewriteRepeats : public testing::TestWithParam<RepeatRow> {
protected:
    /// Each value and each list is long, and `times` elements of the row's kind are not.
    static std::string Text(int times) {
        Doc doc;
        doc.description = std::string(20000, 'd');
        doc.certificate = std::string(20000, 'Q');
        doc.categories.clear();
        doc.attributes.clear();
        for (int i = 0; i < 1000; ++i) {
            doc.categories += "<category>c" + std::to_string(i) + "</category>";
            doc.attributes += "<attribute><name>n</name><value>" + std::to_string(i) + "</value></attribute>";
        }
        for (int i = 0; i < times; ++i) doc.*GetParam().where += GetParam().element;
        return doc.Text();
    }
};

TEST_P(PolicyRewriteRepeats, ASecondElementIsFilledAsTheFirst) {
    const std::string once = Text(0), twice = Text(1);
    const PolicyHeader header = Parse(once);
    const std::string output = Rewrite(twice, header);
    ExpectEqual(Parse(output), header);
    EXPECT_GT(output.size(), once.size() + 9000) << "the longest value or list stands there again";
}

TEST_P(PolicyRewriteRepeats, VeryManyElementsDoNotMultiplyALongValueOrAList) {
    const std::string text = Text(5000);
    const PolicyHeader header = Parse(Text(0));
    const std::string output = Rewrite(text, header);
    EXPECT_LT(output.size(), 32 * text.size());
    ExpectEqual(Parse(output), header);
    EXPECT_LT(Rewrite(output, header).size(), output.size() + 1000) << "a rewrite of a rewrite adds line ends";
}

const RepeatRow kRepeats[] = {
    {"Field", "<description/>", &Doc::inPolicy},
    {"FieldWithAnElementInside", "<description><unknown/></description>", &Doc::inPolicy},
    {"Certificate", "<certificate/>", &Doc::inHeader},
    {"Categories", "<categories/>", &Doc::inPolicy},
    {"CategoriesWithOneEach", "<categories><category>c1</category></categories>", &Doc::inPolicy},
    {"Attributes", "<attributes/>", &Doc::inPolicy},
};
INSTANTIATE_TEST_SUITE_P(Rows, PolicyRewriteRepeats, testing::ValuesIn(kRepeats),
                         [](const auto& row) { return std::string(row.param.what); });

TEST(PolicyRewriteOfMany, ListsThatADocumentLacksDoNotComeWithEachOfVeryManyPolicies) {
    Doc doc;
    doc.without = {"categories", "attributes"};
    const PolicyHeader header = Parse(doc.Text());
    for (int i = 0; i < 1000; ++i) header.SetCategory(String_t::FromUtf8("c" + std::to_string(i)));
    for (int i = 0; i < 5000; ++i) doc.inHeader += "<policy/>";
    const std::string output = Rewrite(doc.Text(), header);
    EXPECT_LT(output.size(), 32 * (doc.Text().size() + 30000));
    EXPECT_EQ(Parse(output).GetCategoryCount(), 1000);
}

TEST(PolicyRewriteOfMany, AValueThatStandsThereTooOftenIsLeftOutWithWhatStandsInside) {
    Doc doc;
    for (int i = 0; i < 40; ++i) doc.inPolicy += "<name>other<unknown>" + std::to_string(i) + "</unknown></name>";
    doc.inPolicy += "<unknown>kept</unknown>";
    const PolicyHeader header = Parse(doc.Text());
    const std::string output = Rewrite(doc.Text(), header);
    EXPECT_EQ(Count(output, "<name>") - Count(Rewrite(Doc().Text(), header), "<name>"), 15);
    EXPECT_TRUE(Holds(output, "<unknown>14</unknown>"));
    EXPECT_FALSE(Holds(output, "<unknown>15</unknown>"));
    EXPECT_TRUE(Holds(output, "<unknown>kept</unknown>"));
    ExpectEqual(Parse(output), header);
}

}  // namespace
