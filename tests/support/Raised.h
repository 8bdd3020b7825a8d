/// @file
/// Expectations on exceptions with catalogue numbers.
#pragma once

#include <gtest/gtest.h>

#include "LumPalMsg.h"

/// Runs the action and returns the messages of the exception of exactly the class E that it throws;
/// adds a test failure, and returns no message, when there is none.
template <class E, class Action>
LumPalMsg::MessageList_t MessagesOf(Action&& action) {
    try {
        action();
    } catch (const LumPalMsg::Exception_t& e) {
        EXPECT_TRUE(typeid(e) == typeid(E)) << "thrown was " << typeid(e).name() << ": " << e.what();
        return e.GetMessageList();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// The statement raises exactly the class E, and its first message bears the number.
#define EXPECT_RAISES(statement, E, number)                                         \
    do {                                                                            \
        LumPalMsg::MessageList_t raised_ = MessagesOf<E>([&] { (void)statement; }); \
        ASSERT_GT(raised_.GetMessageCount(), 0);                                    \
        EXPECT_EQ(raised_.GetMessage(0).GetId(), static_cast<unsigned>(number));    \
    } while (false)
