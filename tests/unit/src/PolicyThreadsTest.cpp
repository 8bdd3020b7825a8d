// Headers and containers that several threads use at once.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "PolicyContainer.h"
#include "PolicyDocs.h"
#include "PolicyHeaderImpl.h"
#include "TempRoot.h"

namespace {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumPalStr::NumToStr;
using LumPalStr::String_t;

/// Runs the steps again and again, each on a thread of its own; all stop when the first step has run `rounds` times.
void RunTogether(int rounds, const std::vector<std::function<void(int)>>& steps) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; !stop; ++round) steps[i](round);
        });
    }
    for (int round = 0; round < rounds; ++round) steps[0](round);
    stop = true;
    for (std::thread& thread : threads) thread.join();
}

PolicyHeader Header(int number) {
    const PolicyHeader header;
    header.SetContainerId(String_t("id") + NumToStr(number));
    header.SetName(String_t("name") + NumToStr(number));
    header.SetTypeName(String_t("type") + NumToStr(number % 3));
    return header;
}

TEST(PolicyThreads, AHeaderIsChangedWhileItIsListed) {
    const PolicyHeader header = Header(1);
    std::atomic<int> torn{0};
    RunTogether(20000, {[&](int round) {
                            round % 2 ? header.SetEnabled() : header.SetDisabled();
                            header.SetOwner(String_t("owner") + NumToStr(round));
                            header.GetImpl()->RemoveAllAttributes();
                            header.SetAttribute("k", NumToStr(round));
                            header.SetCategory(NumToStr(round));
                            if (round % 100 == 0) header.GetImpl()->RemoveAllCategories();
                        },
                        [&](int) {
                            const LumConf::PolicyRecord record = header.GetImpl()->Snapshot();
                            if (record.status != "enabled" && record.status != "disabled") ++torn;
                            for (const auto& attribute : record.attributes) {
                                if (attribute->GetName() != "k") ++torn;
                            }
                        },
                        [&](int) {
                            if (header.IsEnabled() && header.GetOwner() == "nobody") ++torn;
                            header.GetImpl()->IsDataReadAllowed();
                        }});
    EXPECT_EQ(torn, 0);
}

TEST(PolicyThreads, TwoVersionsOfASnapshotNeverMix) {
    const PolicyHeader header = Header(1);
    std::atomic<int> torn{0};
    RunTogether(20000, {[&](int round) {
                            header.GetImpl()->RemoveAllCategories();
                            header.SetCategory(NumToStr(round));
                        },
                        [&](int) {
                            if (header.GetImpl()->Snapshot().categories.size() > 1) ++torn;
                        }});
    EXPECT_EQ(torn, 0);
}

TEST(PolicyThreads, ManyReadersPassByIndexAtOnce) {
    const PolicyContainer container;
    constexpr int count = 200;
    for (int i = 0; i < count; ++i) container.Insert(Header(i).GetImpl());
    std::atomic<int> wrong{0};
    const auto pass = [&](int) {
        String_t last;
        for (int i = 0; i < count; ++i) {
            const String_t id = container.GetPolicyHeader(i).GetContainerId();
            if (i > 0 && !(last < id)) ++wrong;
            last = id;
        }
    };
    RunTogether(50, {pass, pass, pass, pass});
    EXPECT_EQ(wrong, 0);
}

TEST(PolicyThreads, QuestionsAreAnsweredWhileTheContainerChanges) {
    const PolicyContainer container;
    container.Insert(Header(1000).GetImpl());
    std::atomic<int> wrong{0};
    RunTogether(5000, {[&](int round) {
                           const int number = round % 10;
                           container.Insert(Header(number).GetImpl());
                           container.Insert(Header(number).GetImpl());
                           container.Remove(String_t("id") + NumToStr(number));
                       },
                       [&](int) {
                           if (container.IsEmpty()) ++wrong;
                           if (!container.HasTypeName("type1")) ++wrong;
                           if (container.HasTypeName("TYPE1")) ++wrong;
                       },
                       [&](int) {
                           if (container.GetPolicyHeader("ID1000").GetName() != "name1000") ++wrong;
                           container.Enable("id1000");
                       },
                       [&](int) {
                           if (container.GetPolicyHeader(0).GetContainerId().IsEmpty()) ++wrong;
                       }});
    EXPECT_EQ(wrong, 0);
}

TEST(PolicyThreads, DocumentsAreReadAndWrittenBySeveralThreads) {
    const TempRoot root;
    const auto path = policydocs::PutInStore(policydocs::Doc());
    const LumPalIo::File_t file(String_t::FromUtf8(path.string()));
    std::atomic<int> wrong{0};
    const auto read = [&](int) {
        if (PolicyHeader::Read(file).GetContainerId() != "p1") ++wrong;
    };
    RunTogether(100, {[&](int round) {
                          const LumPalIo::File_t copy(root.Path(NumToStr(round)));
                          PolicyHeader::Write(copy, PolicyHeader::Read(file));
                          if (PolicyHeader::Read(copy).GetName() != "First") ++wrong;
                      },
                      read, read});
    EXPECT_EQ(wrong, 0);
}

}  // namespace
