// Policies with very many entries, and operations that name very many: whoever sends them must not hold up the node.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Faults.h"
#include "ListOnTheWire.h"
#include "PolicyDocs.h"
#include "PolicyNode.h"
#include "Tenfold.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;

std::string Word(const char* kind, int number) {
    return kind + std::to_string(number);
}

String_t Words(const char* kind, int count) {
    std::string words;
    for (int i = 0; i < count; ++i) words += (i ? " " : "") + Word(kind, i);
    return String_t::FromUtf8(words);
}

/// So many categories and attributes; all attributes have the same name.
TestPolicy Long(int count, const char* kind = "old") {
    TestPolicy policy;
    for (int i = 0; i < count; ++i) {
        policy.categories.push_back(Word(kind, i));
        policy.attributes.emplace_back("name", Word(kind, i));
    }
    return policy;
}

PolicyRecord Stored(PolicyNode& node) {
    node->ReinitCache("tester");
    return node.Get("p1").GetImpl()->Snapshot();
}

void ExpectEntries(const PolicyRecord& record, const char* kind, int count) {
    ASSERT_EQ(record.categories.size(), static_cast<std::size_t>(count));
    ASSERT_EQ(record.attributes.size(), static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < record.categories.size(); ++i) {
        const String_t word = String_t::FromUtf8(Word(kind, static_cast<int>(i)));
        ASSERT_EQ(record.categories[i], word);
        ASSERT_EQ(record.attributes[i]->GetValue(), word);
    }
}

double Install(PolicyNode& node, const TestPolicy& policy, InstallOptions options = InstallOptions()) {
    const LumPalArray::CharArray_t array = policy.Array();
    options.SetNotify(false);
    return ProcessorSeconds([&] { node->Install("tester", array, options); });
}

double InstallNew(int count) {
    PolicyNode node(kFastFolder);
    const double seconds = Install(node, Long(count));
    ExpectEntries(Stored(node), "old", count);
    return seconds;
}

double Update(int count) {
    PolicyNode node(kFastFolder);
    node.Install(Long(count));
    const double seconds = Install(node, Long(count, "coming"));
    ExpectEntries(Stored(node), "old", count);
    return seconds;
}

/// The options take away all that the document brings, and put others in their place.
double InstallWithOptions(int count) {
    InstallOptions options;
    for (int i = 0; i < count; ++i) {
        const String_t old = String_t::FromUtf8(Word("old", i)), fresh = String_t::FromUtf8(Word("new", i));
        options.SetRemoveCategory(old).SetAddCategory(fresh);
        options.SetRemoveAttribute("name", old).SetAddAttribute("name", fresh);
    }
    PolicyNode node(kFastFolder);
    const double seconds = Install(node, Long(count), options);
    ExpectEntries(Stored(node), "new", count);
    return seconds;
}

template <class Call>
double Change(PolicyNode& node, const Call& call) {
    return ProcessorSeconds([&] { call(node.Operation(), PolicyForwarder::Options().SetNotify(false)); });
}

double Disable(int count, const Selection& selection) {
    PolicyNode node(kFastFolder);
    node.Install(Long(count));
    const double seconds = Change(node, [&](PolicyOperation& operation, const PolicyForwarder::Options& options) {
        operation.SetStatus("tester", selection, PolicyOperation::Disable, options);
    });
    const PolicyRecord record = Stored(node);
    EXPECT_EQ(record.status, "disabled");
    ExpectEntries(record, "old", count);
    return seconds;
}

double ChangeCategories(int count, PolicyOperation::Action action) {
    PolicyNode node(kFastFolder);
    node.Install(Long(count));
    const String_t words = action == PolicyOperation::AddCategory
                               ? Words("new", count)
                               : Words("old", count / 2) + " " + Words("other", count);
    const double seconds = Change(node, [&](PolicyOperation& operation, const PolicyForwarder::Options& options) {
        operation.ModifyCategory("tester", words, Selection().SetPolicyAttribute("name"), options, action);
    });
    const std::vector<String_t> left = Stored(node).categories;
    const bool added = action == PolicyOperation::AddCategory;
    EXPECT_EQ(left.size(), static_cast<std::size_t>(added ? 2 * count : count - count / 2));
    EXPECT_EQ(left.front(), String_t::FromUtf8(Word("old", added ? 0 : count / 2)));
    EXPECT_EQ(left.back(), String_t::FromUtf8(Word(added ? "new" : "old", count - 1)));
    return seconds;
}

double List(int count) {
    PolicyNode node(kFastFolder);
    node.Install(Long(count));
    const PolicyContainer list = node.List();
    PolicyContainer received;
    const double seconds = ProcessorSeconds([&] { received = ToTheWireAndBack(list); });
    ExpectEntries(received.GetPolicyHeader("p1").GetImpl()->Snapshot(), "old", count);
    return seconds;
}

struct Road {
    const char* name;
    int entries;
    double (*seconds)(int entries);
};

void PrintTo(const Road& road, std::ostream* out) {
    *out << road.name;
}

class ManyEntries : public testing::TestWithParam<Road> {};

TEST_P(ManyEntries, TenTimesAsManyCostTenTimesAsMuch) {
    EXPECT_LT(TenfoldRatio(GetParam().entries, GetParam().seconds), kMostForTenfold);
}

const Road kRoads[] = {
    {"Install", 1000, InstallNew},
    {"UpdateThatKeepsTheInstalledOnes", 1000, Update},
    {"InstallWithOptions", 1000, InstallWithOptions},
    {"Disable", 1000, [](int count) { return Disable(count, Selection()); }},
    {"DisableByAnAttributeOfThatName", 300,
     [](int count) { return Disable(count, Selection().SetPolicyAttribute("name")); }},
    {"AddCategories", 1000, [](int count) { return ChangeCategories(count, PolicyOperation::AddCategory); }},
    {"RemoveCategories", 1000, [](int count) { return ChangeCategories(count, PolicyOperation::RemoveCategory); }},
    {"List", 1000, List},
};
INSTANTIATE_TEST_SUITE_P(Roads, ManyEntries, testing::ValuesIn(kRoads),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace LumConf
