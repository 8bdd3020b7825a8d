// Whether a long list of categories or attributes has an entry.
#include "EntryLookUps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "LumPalMsg.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using Categories = EntryLookUps::Categories;
using Attributes = EntryLookUps::Attributes;

String_t Word(int number) {
    return String_t::FromUtf8("word " + std::to_string(number));
}

/// Appends what is new, as a header does.
bool Add(EntryLookUps& lookUps, Categories& list, const String_t& category) {
    if (!lookUps.IsNew(list, category)) return false;
    list.push_back(category);
    return true;
}

TEST(EntryLookUps, AListOfAnyLengthTakesEachEntryOnceAndKeepsTheOrder) {
    for (int count : {1, 15, 16, 17, 31, 32, 33, 34, 1000}) {
        EntryLookUps lookUps;
        Categories list, expected;
        for (int i = 0; i < count; ++i) expected.push_back(Word((i * 7919) % 100003));
        for (int round = 0; round < 3; ++round) {
            for (const String_t& category : expected) EXPECT_EQ(Add(lookUps, list, category), round == 0) << category;
        }
        EXPECT_EQ(list, expected) << count;
    }
}

TEST(EntryLookUps, EntriesAreComparedExactly) {
    EntryLookUps lookUps;
    Categories list;
    for (int i = 0; i < 100; ++i) Add(lookUps, list, Word(i));
    EXPECT_FALSE(lookUps.IsNew(list, "word 1"));
    for (const char* other : {"Word 1", "word 1 ", " word 1", "word  1", "word"}) {
        EXPECT_TRUE(Add(lookUps, list, other)) << other;
        EXPECT_FALSE(lookUps.IsNew(list, other)) << other;
    }
}

TEST(EntryLookUps, AnAttributeIsItsNameAndItsValue) {
    EntryLookUps lookUps;
    Attributes list;
    const auto add = [&](const String_t& name, const String_t& value) {
        if (!lookUps.IsNew(list, TextPair(name, value))) return false;
        list.emplace_back(new PolicyAttributeImpl(name, value));
        return true;
    };
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(add("name", Word(i)));
        EXPECT_TRUE(add(Word(i), "name"));
    }
    EXPECT_TRUE(add("name", ""));
    EXPECT_FALSE(add("name", ""));
    EXPECT_FALSE(add("name", Word(99)));
    EXPECT_FALSE(add(Word(0), "name"));
    EXPECT_TRUE(add("nam", "e"));
    EXPECT_EQ(list.size(), 202u);
}

TEST(EntryLookUps, AnEntryThatCouldNotBeAppendedIsStillNew) {
    EntryLookUps lookUps;
    Categories list;
    for (int i = 0; i < 100; ++i) Add(lookUps, list, Word(i));
    EXPECT_TRUE(lookUps.IsNew(list, "lost"));  // no memory for the list, say
    EXPECT_TRUE(lookUps.IsNew(list, "lost"));
    EXPECT_TRUE(Add(lookUps, list, "lost"));
    EXPECT_FALSE(lookUps.IsNew(list, "lost"));
    EXPECT_FALSE(lookUps.IsNew(list, Word(99)));
}

/// One step of a header and of a plain list beside it, both drawn by lot.
void Step(PolicyHeaderImpl& header, Categories& plain, int verb, const std::vector<String_t>& words) {
    const auto has = [&](const String_t& word) { return std::find(plain.begin(), plain.end(), word) != plain.end(); };
    if (verb == 0) {
        const bool any = std::any_of(words.begin(), words.end(), has);
        EXPECT_EQ(header.RemoveCategories(HashedTexts<String_t>(words)), any);
        std::erase_if(plain,
                      [&](const String_t& p) { return std::find(words.begin(), words.end(), p) != words.end(); });
    } else if (verb == 1) {
        EXPECT_EQ(header.RemoveCategory(words.front()), has(words.front()));
        std::erase(plain, words.front());
    } else if (verb == 2) {
        header.Compact();
    } else {
        for (const String_t& word : words) {
            EXPECT_EQ(header.SetCategory(word), !has(word));
            if (!has(word)) plain.push_back(word);
        }
    }
}

TEST(EntryLookUps, AHeaderHoldsWhatAPlainListHoldsWhateverIsDoneToIt) {
    std::mt19937 lot(7);
    const LumPalPtr::RefPtr_t<PolicyHeaderImpl> header(new PolicyHeaderImpl);
    Categories plain;
    for (int step = 0; step < 300; ++step) {
        std::vector<String_t> words(1 + lot() % 40);
        for (String_t& word : words) word = Word(static_cast<int>(lot() % 200));
        Step(*header, plain, static_cast<int>(lot() % 8), words);
        ASSERT_EQ(header->Snapshot().categories, plain) << step;
    }
}

TEST(EntryLookUps, AttributesThatAreRemovedTogetherLeaveTheOthersInTheirOrder) {
    const LumPalPtr::RefPtr_t<PolicyHeaderImpl> header(new PolicyHeaderImpl);
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(header->SetAttribute("name", Word(i)));
    std::vector<TextPair> odd;
    for (int i = 1; i < 100; i += 2) odd.emplace_back("name", Word(i));
    odd.emplace_back("name", "nowhere");
    odd.push_back(odd.front());
    header->RemoveAttributes(odd);
    ASSERT_EQ(header->GetAttributesCount(), 50);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(header->GetAttribute(i)->GetValue(), Word(2 * i));
    for (int i = 0; i < 100; ++i) EXPECT_EQ(header->SetAttribute("name", Word(i)), i % 2 == 1) << i;
}

TEST(EntryLookUps, ABadPairAmongManyRemovesNothing) {
    const LumPalPtr::RefPtr_t<PolicyHeaderImpl> header(new PolicyHeaderImpl);
    header->SetAttribute("a", "1");
    for (const TextPair& bad : {TextPair("a", ""), TextPair("", "1"), TextPair("a=b", "1"), TextPair("a", "1=2")}) {
        EXPECT_THROW(header->RemoveAttributes({{"a", "1"}, bad}), LumPalMsg::IllegalArgumentError_t);
        EXPECT_EQ(header->GetAttributesCount(), 1);
    }
}

TEST(EntryLookUps, ATakenOverListIsWhatIsAskedFromThenOn) {
    const LumPalPtr::RefPtr_t<PolicyHeaderImpl> header(new PolicyHeaderImpl), other(new PolicyHeaderImpl);
    for (int i = 0; i < 100; ++i) {
        header->SetCategory(Word(i));
        header->SetAttribute("a", Word(i));
        other->SetCategory(Word(i + 50));
        other->SetAttribute("a", Word(i + 50));
    }
    header->ReplaceCategories(other->Snapshot().categories);
    header->ReplaceAttributes(other->Snapshot().attributes);
    for (int i = 0; i < 150; ++i) {
        EXPECT_EQ(header->SetCategory(Word(i)), i < 50) << i;
        EXPECT_EQ(header->SetAttribute("a", Word(i)), i < 50) << i;
    }
    EXPECT_EQ(header->GetCategory(0), Word(50));
    EXPECT_EQ(header->GetAttribute(0)->GetValue(), Word(50));
    EXPECT_EQ(other->GetCategoryCount(), 100);
}

TEST(EntryLookUps, ATakenOverAttributeSuppliesAMissingVersionId) {
    const LumPalPtr::RefPtr_t<PolicyHeaderImpl> header(new PolicyHeaderImpl), other(new PolicyHeaderImpl);
    other->SetAttribute("version_id", "ABC");
    other->SetAttribute("version_id", "DEF");
    header->ReplaceAttributes(other->Snapshot().attributes);
    EXPECT_EQ(header->GetVersionId(), "abc");
    header->SetVersionId("own");
    header->ReplaceAttributes(other->Snapshot().attributes);
    EXPECT_EQ(header->GetVersionId(), "own");
}

}  // namespace
}  // namespace LumConf
