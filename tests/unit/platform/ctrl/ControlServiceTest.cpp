// The service of a root: its life, its socket, and programs that mean it no good.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <atomic>

#include "ControlTest.h"
#include "LocalSocket.h"
#include "LumCtrlState.h"
#include "LumPalFault.h"
#include "LumPalIo.h"
#include "Notify.h"

using namespace LumCtrl;
using LumPalStr::String_t;

TEST_F(ControlTest, OnlyOneServiceLivesOnARoot) {
    service.Start();
    EXPECT_THROW(service.Start(), LumPalMsg::IllegalStateError_t);
    Service second;
    EXPECT_THROW(second.Start(), LumPalIo::IOException_t);
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "", "", synchronous)) << "the refused one must not have harmed the first";
    consumer.Join();
    service.Stop();
    EXPECT_NO_THROW(second.Start());
}

TEST_F(ControlTest, AServiceStartsAgainAfterItsStop) {
    for (int i = 0; i < 3; ++i) {
        service.Start();
        EXPECT_TRUE(LumPalIo::File_t(SocketPath()).Exists());
        service.Stop();
        EXPECT_FALSE(LumPalIo::File_t(SocketPath()).Exists());
    }
}

TEST_F(ControlTest, ASocketThatADeadServiceLeftIsRemoved) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    { const Descriptor dead = ListenAt(SocketPath()); }
    ASSERT_TRUE(LumPalIo::File_t(SocketPath()).Exists());
    EXPECT_NO_THROW(service.Start());
}

TEST_F(ControlTest, ASocketThatIsServedIsRefusedEvenWithoutALock) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    const Descriptor other = ListenAt(SocketPath());
    EXPECT_THROW(service.Start(), LumPalIo::IOException_t);
}

TEST_F(ControlTest, AServiceIsThereFromItsStartToItsEndAndIsNotDisturbedByTheQuestion) {
    EXPECT_EQ(IsServiceThere(), false);
    service.Start();
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(IsServiceThere(), true);
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "v", "", synchronous));
    consumer.Join();
    service.Stop();
    EXPECT_EQ(IsServiceThere(), false);
}

TEST_F(ControlTest, WhatAServiceLeftIsNoService) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    { const Descriptor dead = ListenAt(SocketPath()); }
    EXPECT_EQ(IsServiceThere(), false);
    LumPalIo::File_t(SocketPath()).Delete();
    LumPalIo::FileOutputStream_t(SocketPath()).Close();
    EXPECT_EQ(IsServiceThere(), false);
    LumPalRuntime::Dir_t::SetRoot(root.Path() + "/" + std::string(200, 'x').c_str());
    EXPECT_EQ(IsServiceThere(), false);
}

TEST_F(ControlTest, AFileInTheWayIsNotRemoved) {
    LumPalIo::File_t(SocketPath()).GetParentFile().Mkdirs();
    LumPalIo::FileOutputStream_t(SocketPath()).Close();
    EXPECT_THROW(service.Start(), LumPalIo::IOException_t);
    EXPECT_TRUE(LumPalIo::File_t(SocketPath()).Exists());
}

TEST_F(ControlTest, TheSocketIsForItsOwnerAlone) {
    service.Start();
    struct stat info {};
    ASSERT_EQ(lstat(SocketPath().ToUtf8().c_str(), &info), 0);
    EXPECT_TRUE(S_ISSOCK(info.st_mode));
    EXPECT_EQ(info.st_mode & 07777, 0600u);
}

TEST_F(ControlTest, ARootWhosePathIsLongerThanASocketAddressWorksAllTheSame) {
    String_t deep = root.Path();
    for (int i = 0; i < 10; ++i) deep += "/a-folder-with-quite-a-long-name";
    LumPalRuntime::Dir_t::SetRoot(deep);
    ASSERT_GT(SocketPath().GetLength(), 300u);
    service.Start();
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "v", "", synchronous));
    consumer.Join();
    EXPECT_EQ(consumer.seen, std::vector<std::string>{"E=v"});
    service.Stop();
    EXPECT_FALSE(LumPalIo::File_t(SocketPath()).Exists());
}

TEST_F(ControlTest, AnyNumberOfProgramsThatSayNothingKeepNobodyOut) {
    service.Start();
    std::vector<Descriptor> silent;
    for (int i = 0; i < 1100; ++i) {
        try {
            silent.push_back(ConnectTo(SocketPath()));
        } catch (const LumPalIo::IOException_t&) {
            silent.erase(silent.begin());  // this process has no more descriptors
        }
        if (i % 100 != 99) continue;
        Consumer consumer("c", all, 1);
        EXPECT_NO_THROW(NotifyWithin("E", "", "", synchronous, kLongMs)) << i;
    }
}

TEST_F(ControlTest, WithoutDescriptorsAProgramWaitsUntilThereAreSomeAgain) {
    service.Start();
    static std::atomic<int> left;
    left = 3;
    LumPalIo::SetFaultHookForTest([](const char* operation, const char* path) {
        return std::string_view(operation) == "accept" && std::string_view(path) == "control.sock" && --left >= 0;
    });
    {
        Consumer consumer("c", all, 1);
        EXPECT_LT(left, 0);
        EXPECT_NO_THROW(NotifyWithin("E", "", "", synchronous, kLongMs));
    }
    LumPalIo::SetFaultHookForTest(nullptr);
}

TEST_F(ControlTest, AProgramThatSendsNonsenseIsDroppedAndHarmsNobody) {
    service.Start();
    Consumer consumer("c", all, 1);
    for (const std::string& nonsense :
         {std::string("GET / HTTP/1.1\r\n\r\n"), std::string("\0\0\0\1X", 5), std::string(100000, '\xFF'),
          Frame{FrameKind::Reply, 0, {""}}.Encode(), Frame{FrameKind::Acknowledge, 1, {}}.Encode()}) {
        const Descriptor socket = ConnectTo(SocketPath());
        EXPECT_EQ(send(socket.Get(), nonsense.data(), nonsense.size(), MSG_NOSIGNAL) > 0, true);
        FrameBuffer buffer;
        Frame frame;
        EXPECT_EQ(WaitForFrame(socket, buffer, kLongMs, frame), WaitResult::Ended);
    }
    EXPECT_NO_THROW(Control::Notify("E", "", "", synchronous));
}

TEST_F(ControlTest, ManyHalfFramesAndSilentConnectionsHinderNobody) {
    service.Start();
    std::vector<Descriptor> silent;
    for (int i = 0; i < 200; ++i) {
        silent.push_back(ConnectTo(SocketPath()));
        if (i % 2 != 0) SendAll(silent.back(), std::string("\0\xFF\0\0T", 5));
    }
    Consumer consumer("c", all, 1);
    EXPECT_NO_THROW(Control::Notify("E", "", "", synchronous));
}
