// Policies with very many entries, and operations that name very many: ten times the entries.
#include <stdexcept>

#include "Benchmarks.h"
#include "ListOnTheWire.h"
#include "PolicyHeader.h"
#include "PolicyNode.h"
#include "Store.h"

namespace bench {
namespace {

using LumConf::InstallOptions;
using LumConf::PolicyContainer;
using LumConf::PolicyForwarder;
using LumConf::PolicyOperation;
using LumConf::Selection;
using LumPalStr::String_t;

std::string Word(const char* kind, int number) {
    return kind + std::to_string(1000000 + number);
}

String_t Text(const std::string& utf8) {
    return String_t::FromUtf8(utf8);
}

/// So many words of a kind, a blank between them.
String_t Words(const char* kind, int count) {
    std::string words;
    for (int i = 0; i < count; ++i) words += (i ? " " : "") + Word(kind, i);
    return Text(words);
}

TestPolicy WithCategories(int count, const char* kind = "category-of-a-policy-") {
    TestPolicy policy;
    for (int i = 0; i < count; ++i) policy.categories.push_back(Word(kind, i));
    return policy;
}

TestPolicy WithAttributes(int count, const char* kind = "value-of-a-policy-") {
    TestPolicy policy;
    for (int i = 0; i < count; ++i) policy.attributes.emplace_back("attribute", Word(kind, i));
    return policy;
}

void Demand(bool condition) {
    if (!condition) throw std::runtime_error("an operation on many entries did not do its work");
}

double Read(const TestPolicy& policy) {
    const TempRoot root(PlaceInMemory());
    const LumPalIo::File_t file = policy.WriteFiles(root.Native());
    return ProcessorSeconds([&] { LumConf::PolicyHeader::Read(file); });
}

double Install(PolicyNode& node, const TestPolicy& policy, InstallOptions options = InstallOptions()) {
    const LumPalArray::CharArray_t array = policy.Array();
    options.SetNotify(false);
    return ProcessorSeconds([&] { node->Install("bench", array, options); });
}

double InstallNew(const TestPolicy& policy, const InstallOptions& options = InstallOptions()) {
    PolicyNode node(PlaceInMemory());
    return Install(node, policy, options);
}

/// The entries of the installed policy stay, those that come are dropped.
double Update(const TestPolicy& installed, const TestPolicy& coming) {
    PolicyNode node(PlaceInMemory());
    node.Install(installed);
    const double seconds = Install(node, coming);
    Demand(node.Get("p1").GetImpl()->Snapshot().categories.size() == installed.categories.size());
    return seconds;
}

/// Takes all away, and puts as many others in their place.
double ReplaceByOptions(TestPolicy policy) {
    InstallOptions options;
    for (const std::string& category : policy.categories) {
        options.SetRemoveCategory(Text(category)).SetAddCategory(Text("new-" + category));
    }
    for (const auto& [name, value] : policy.attributes) {
        options.SetRemoveAttribute(Text(name), Text(value)).SetAddAttribute(Text(name), Text("new-" + value));
    }
    return InstallNew(policy, options);
}

template <class Call>
double Change(const TestPolicy& policy, Call&& call) {
    PolicyNode node(PlaceInMemory());
    node.Install(policy);
    return ProcessorSeconds([&] { call(node.Operation(), PolicyForwarder::Options().SetNotify(false)); });
}

double Disable(const TestPolicy& policy, const Selection& selection = Selection()) {
    return Change(policy, [&](PolicyOperation& operation, const PolicyForwarder::Options& options) {
        operation.SetStatus("bench", selection, PolicyOperation::Disable, options);
    });
}

double ChangeCategories(const TestPolicy& policy, const String_t& words, PolicyOperation::Action action) {
    return Change(policy, [&](PolicyOperation& operation, const PolicyForwarder::Options& options) {
        operation.ModifyCategory("bench", words, Selection(), options, action);
    });
}

/// As a node answers and a client reads it.
double List(const TestPolicy& policy) {
    PolicyNode node(PlaceInMemory());
    node.Install(policy);
    const PolicyContainer list = node.List();
    return ProcessorSeconds([&] { Demand(ToTheWireAndBack(list).GetCount() == 1); });
}

/// Policies of a type each.
std::vector<TestPolicy> OfManyTypes(int count) {
    std::vector<TestPolicy> policies(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        TestPolicy& policy = policies[static_cast<std::size_t>(i)];
        policy.id = Word("p", i);
        policy.name = Word("name", i);
        policy.type = Word("type", i);
    }
    return policies;
}

double InstallPackage(PolicyNode& node, const std::vector<TestPolicy>& policies, InstallOptions options) {
    const LumPalArray::CharArray_t package = PackageOf(policies);
    options.SetNotify(false);
    return ProcessorSeconds([&] { node->InstallPackage("bench", package, options); });
}

double InstallTypes(int count) {
    PolicyNode node(PlaceInMemory());
    return InstallPackage(node, OfManyTypes(count), InstallOptions());
}

double InstallLimitedTypes(int count) {
    PolicyNode node(PlaceInMemory());
    Configure("conf.server", "NOMULTIPLEPOLICIES", Words("type", count).ToUtf8().c_str());
    std::vector<TestPolicy> policies = OfManyTypes(count);
    InstallPackage(node, policies, InstallOptions());
    for (TestPolicy& policy : policies) {
        policy.id = "new-" + policy.id;
        policy.name = "new-" + policy.name;
    }
    return InstallPackage(node, policies, InstallOptions().SetForceAll(true));
}

double RemoveTypes(int count) {
    PolicyNode node(PlaceInMemory());
    InstallPackage(node, OfManyTypes(count), InstallOptions());
    return ProcessorSeconds([&] { node.Remove(Selection()); });
}

double LoadIds(int count) {
    PolicyNode node(PlaceInMemory());
    InstallPackage(node, OfManyTypes(count), InstallOptions());
    const String_t ids = Words("p", count);
    const PolicyContainer container;
    return ProcessorSeconds([&] { Demand(container.CheckPolicy(ids) == count); });
}

double Tell(int count) {
    PolicyNode node(PlaceInMemory());
    InstallPackage(node, OfManyTypes(count), InstallOptions());
    return ProcessorSeconds([&] {
        try {
            node->Notify("bench");
        } catch (const LumCtrl::ControlException&) {
        }
    });
}

/// A way of entries through the node on which ten times the entries must cost ten times the work.
struct Road {
    const char* name;
    int entries;
    double (*seconds)(int entries);
};

const Road kRoads[] = {
    {"read of categories", 6000, [](int n) { return Read(WithCategories(n)); }},
    {"read of attributes", 8000, [](int n) { return Read(WithAttributes(n)); }},
    {"install of categories", 6000, [](int n) { return InstallNew(WithCategories(n)); }},
    {"install of attributes", 8000, [](int n) { return InstallNew(WithAttributes(n)); }},
    {"update of categories", 6000, [](int n) { return Update(WithCategories(n), WithCategories(n, "new")); }},
    {"update of attributes", 8000, [](int n) { return Update(WithAttributes(n), WithAttributes(n, "new")); }},
    {"categories by options", 3000, [](int n) { return ReplaceByOptions(WithCategories(n)); }},
    {"attributes by options", 4000, [](int n) { return ReplaceByOptions(WithAttributes(n)); }},
    {"disable with categories", 6000, [](int n) { return Disable(WithCategories(n)); }},
    {"disable with attributes", 8000, [](int n) { return Disable(WithAttributes(n)); }},
    {"disable by attribute's name", 3000,
     [](int n) { return Disable(WithAttributes(n), Selection().SetPolicyAttribute("attribute")); }},
    {"addcategory of words", 6000,
     [](int n) { return ChangeCategories(WithCategories(n), Words("w", n), PolicyOperation::AddCategory); }},
    {"removecategory of words", 6000,
     [](int n) { return ChangeCategories(WithCategories(n, "w"), Words("w", n), PolicyOperation::RemoveCategory); }},
    {"removecategory of others", 6000,
     [](int n) {
         const String_t words = Words("v", n) + " " + Text(Word("w", 0));
         return ChangeCategories(WithCategories(n, "w"), words, PolicyOperation::RemoveCategory);
     }},
    {"list of categories", 6000, [](int n) { return List(WithCategories(n)); }},
    {"list of attributes", 8000, [](int n) { return List(WithAttributes(n)); }},
    {"load of ids", 300, LoadIds},
    {"package of types", 300, InstallTypes},
    {"package of limited types", 300, InstallLimitedTypes},
    {"remove of types", 300, RemoveTypes},
    {"notification of types", 300, Tell},
};

/// As much work as the other side does: what that leaves of heap and caches is not the first small one's fault.
double TenTimes(const Road& road, int entries) {
    double seconds = 0;
    for (int i = 0; i < 10; ++i) seconds += road.seconds(entries);
    return seconds / 10;
}

}  // namespace

void MeasureEntries(Session& session) {
    for (const Road& road : kRoads) {
        const int entries = session.Choose(road.entries, 20);
        const Pairs pairs = RunPairs(
            session.Choose(5, 1), [&] { return road.seconds(10 * entries); }, [&] { return TenTimes(road, entries); });
        session.Add({std::string(road.name) + ", tenfold", pairs.Ratios(), 12.0, Times(pairs)});
    }
}

}  // namespace bench
