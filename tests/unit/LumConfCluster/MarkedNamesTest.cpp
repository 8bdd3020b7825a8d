#include "MarkedNames.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Tenfold.h"

namespace {

using LumConfCluster::MarkedNames;
using LumPalStr::String_t;

TEST(MarkedNames, ANameIsHeldExactlyWhereItOccursInTheTextWithItsMarker) {
    std::mt19937 random(7);
    const std::string units = "ab~@$#%";
    for (int round = 0; round < 3000; ++round) {
        // Most rounds have names without units of the marker, which are looked up another way.
        const std::size_t most = round % 3 == 0 ? units.size() : 2;
        const auto name = [&] {
            std::string text;
            for (auto length = random() % 4; length > 0; --length) text += units[random() % most];
            return text;
        };
        MarkedNames names;
        std::string text = MarkedNames::kMarker;
        for (int i = 0; i < 4; ++i) {
            const std::string added = name();
            names.Add(added.c_str());
            text += added + MarkedNames::kMarker;
        }
        for (int i = 0; i < 8; ++i) {
            const std::string asked = name();
            EXPECT_EQ(names.Holds(asked.c_str()), text.find(asked + MarkedNames::kMarker) != text.npos)
                << "'" << asked << "' in " << text;
            EXPECT_EQ(names.Occurs(asked.c_str()), text.find(asked) != text.npos);
        }
    }
}

TEST(MarkedNames, AnEmptyListIsTheMarkerAlone) {
    const MarkedNames none;
    EXPECT_TRUE(none.IsEmpty());
    EXPECT_TRUE(none.Holds(""));
    EXPECT_FALSE(none.Holds("a"));
    EXPECT_TRUE(none.Occurs("@"));
    EXPECT_EQ(none.Listed(), " ");
}

TEST(MarkedNames, TenTimesTheNamesCostTenTimesAsMuchToLookUp) {
    EXPECT_LT(TenfoldRatio(3000,
                           [](int count) {
                               return ProcessorSeconds([&] {
                                   MarkedNames names;
                                   for (int i = 0; i < count; ++i) {
                                       const String_t name = "name" + LumPalStr::NumToStr(i);
                                       if (!names.Holds(name)) names.Add(name);
                                   }
                               });
                           }),
              kMostForTenfold);
}

}  // namespace
