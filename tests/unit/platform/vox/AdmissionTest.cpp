#include "Admission.h"

#include <gtest/gtest.h>

using LumVoxMsg::Admission;
using LumVoxMsg::PeerAddress;
using LumVoxMsg::PeerRank;

namespace {

PeerAddress Host(unsigned char number) {
    PeerAddress made;
    made.bytes[15] = number;
    return made;
}

PeerAddress Loopback() {
    PeerAddress made = Host(1);
    made.isLoopback = true;
    return made;
}

bool Says(const char* text, const char* word) {
    return text && std::string(text).find(word) != std::string::npos;
}

TEST(Admission, StrangersHaveThreeQuartersOfTheConnections) {
    Admission admission(8, 100);
    for (unsigned char i = 0; i < 6; ++i) {
        EXPECT_EQ(admission.WhyFull(Host(i)), nullptr) << +i;
        admission.Enter(Host(i));
    }
    EXPECT_TRUE(admission.HaveStrangersTheirShare());
    EXPECT_TRUE(Says(admission.WhyFull(Host(9)), "share"));
    admission.Prove(Host(0), PeerRank::Newcomer);
    EXPECT_EQ(admission.WhyFull(Host(9)), nullptr) << "who has proven who he is takes none of theirs";
    EXPECT_EQ(admission.GetCount(), 6u);
}

TEST(Admission, AnEighthIsKeptForThoseOfWhomNoRequestWasTakenYet) {
    Admission admission(16, 100);
    for (int i = 0; i < 12; ++i) admission.Enter(Host(1));
    EXPECT_NE(admission.WhyFull(Host(1)), nullptr);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(admission.Speak()) << i;
    EXPECT_FALSE(admission.Speak());
    admission.Prove(Host(1), PeerRank::Newcomer);
    EXPECT_FALSE(admission.Speak()) << "a newcomer who proves who he is was none of the strangers";
    admission.Prove(Host(1), PeerRank::Stranger);
    EXPECT_TRUE(admission.Speak());
    admission.Leave(Host(1), PeerRank::Stranger);
    EXPECT_TRUE(admission.Speak());
    admission.TakeBackSpeaking();
    EXPECT_TRUE(admission.Speak());
}

TEST(Admission, ProvenCallersFillItWhenFewerPlacesAreLeftThanAreKeptForNewcomers) {
    Admission admission(16, 100);
    EXPECT_FALSE(admission.IsFilledByProven()) << "nobody is there";
    for (int i = 0; i < 16; ++i) {
        admission.Enter(Host(1));
        admission.Prove(Host(1), PeerRank::Newcomer);
    }
    EXPECT_TRUE(admission.IsFilledByProven());
    admission.Leave(Host(1), PeerRank::Proven);
    EXPECT_FALSE(admission.IsFilledByProven());
    admission.Enter(Host(1));
    EXPECT_TRUE(admission.IsFilledByProven());
    admission.Leave(Host(1), PeerRank::Proven);
    admission.Enter(Host(1));
    EXPECT_FALSE(admission.IsFilledByProven());
}

TEST(Admission, AllTogetherAreNoMoreThanAllConnections) {
    Admission admission(4, 100);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(admission.WhyFull(Host(1)), nullptr) << i;
        admission.Enter(Host(1));
        admission.Prove(Host(1), PeerRank::Newcomer);
    }
    EXPECT_TRUE(Says(admission.WhyFull(Host(1)), "all are at work"));
    admission.Leave(Host(1), PeerRank::Proven);
    EXPECT_EQ(admission.WhyFull(Host(1)), nullptr);
}

TEST(Admission, AnAddressHasALimitOfItsOwn) {
    Admission admission(100, 2);
    admission.Enter(Host(1));
    admission.Enter(Host(1));
    EXPECT_TRUE(admission.IsAddressFull(Host(1)));
    EXPECT_TRUE(Says(admission.WhyFull(Host(1)), "MAX_ADDRESS_CONNECTIONS"));
    EXPECT_EQ(admission.WhyFull(Host(2)), nullptr);
    admission.Prove(Host(1), PeerRank::Newcomer);
    EXPECT_EQ(admission.WhyFull(Host(1)), nullptr) << "a proven caller does not count";
    admission.Enter(Host(1));
    admission.Leave(Host(1), PeerRank::Proven);
    EXPECT_TRUE(admission.IsAddressFull(Host(1)));
    admission.Leave(Host(1), PeerRank::Newcomer);
    EXPECT_FALSE(admission.IsAddressFull(Host(1)));
}

TEST(Admission, LoopbackHasNone) {
    Admission admission(100, 2);
    for (int i = 0; i < 50; ++i) admission.Enter(Loopback());
    EXPECT_EQ(admission.WhyFull(Loopback()), nullptr);
    for (int i = 0; i < 50; ++i) admission.Leave(Loopback(), PeerRank::Newcomer);
    EXPECT_EQ(admission.GetCount(), 0u);
}

TEST(Admission, ASingleConnectionMayBeAStrangers) {
    Admission admission(1, 1);
    EXPECT_EQ(admission.WhyFull(Host(1)), nullptr);
    admission.Enter(Host(1));
    EXPECT_NE(admission.WhyFull(Host(2)), nullptr);
}

}  // namespace
