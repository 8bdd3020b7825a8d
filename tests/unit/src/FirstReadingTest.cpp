#include "FirstReading.h"

#include <gtest/gtest.h>

#include <atomic>

#include "Configure.h"
#include "LumPalMsg.h"
#include "TempRoot.h"

namespace {

using namespace LumConf;
using LumPalConfig::ChangedConfiguration_t;
using LumPalConfig::ConfigNamespace_t;
using LumPalConfig::Configuration_t;
using LumPalThread::MutexLock_t;

/// Holds one value; lets a test do something between the opening of the configuration and the taking of the value.
class Follower final : public LumPalConfig::ConfigChangeHandler_i {
public:
    template <class Between>
    explicit Follower(Between between) {
        RegisterAndRead(nameSpace, *this, mutex, [&] {
            const Configuration_t configuration = nameSpace.Open();
            between();
            value = configuration.GetInt("KEY");
            changesBeforeReading = changes;
        });
    }
    ~Follower() override { nameSpace.Unregister(*this); }
    void Update(const ChangedConfiguration_t&, const Configuration_t& configuration) override {
        const MutexLock_t lock(mutex);
        ++changes;
        value = configuration.GetInt("KEY");
    }

    ConfigNamespace_t nameSpace{"some.namespace"};
    LumPalThread::Mutex_t mutex;
    std::atomic<int> value{-1}, changes{0};
    int changesBeforeReading = -1;
};

void Nothing() {}

struct FirstReadingTest : testing::Test {
    TempRoot root;
};

TEST_F(FirstReadingTest, TheValueThatStandsThereIsRead) {
    Configure("some.namespace", "KEY", "7");
    EXPECT_EQ(Follower(Nothing).value, 7);
}

TEST_F(FirstReadingTest, AChangeBesideTheReadingIsToldBehindIt) {
    Configure("some.namespace", "KEY", "1");
    Follower follower([] { Configure("some.namespace", "KEY", "2"); });
    EXPECT_EQ(follower.changesBeforeReading, 0);
    EXPECT_TRUE(Eventually([&] { return follower.value == 2; }));
}

TEST_F(FirstReadingTest, ALaterChangeIsTold) {
    Follower follower(Nothing);
    EXPECT_EQ(follower.value, 0);
    Configure("some.namespace", "KEY", "3");
    EXPECT_TRUE(Eventually([&] { return follower.value == 3; }));
}

TEST_F(FirstReadingTest, AfterAFailureNothingIsSubscribed) {
    struct Failing final : LumPalConfig::ConfigChangeHandler_i {
        void Update(const ChangedConfiguration_t&, const Configuration_t&) override { ++calls; }
        std::atomic<int> calls{0};
    } failing;
    LumPalThread::Mutex_t mutex;
    EXPECT_THROW(RegisterAndRead(ConfigNamespace_t("some.namespace"), failing, mutex, [] { throw 1; }), int);
    EXPECT_THROW(mutex.Unlock(), LumPalMsg::IllegalStateError_t) << "the mutex is free again";
    Follower follower(Nothing);
    Configure("some.namespace", "KEY", "3");
    EXPECT_TRUE(Eventually([&] { return follower.value == 3; }));
    EXPECT_EQ(failing.calls, 0);
}

TEST_F(FirstReadingTest, AFailureBesideAChangeInFlightDoesNotHang) {
    struct Failing final : LumPalConfig::ConfigChangeHandler_i {
        void Update(const ChangedConfiguration_t&, const Configuration_t&) override {
            begun = true;
            const MutexLock_t lock(mutex);
        }
        LumPalThread::Mutex_t mutex;
        std::atomic<bool> begun{false};
    } failing;
    const auto read = [&] {
        Configure("some.namespace", "KEY", "5");
        EXPECT_TRUE(Eventually([&] { return failing.begun.load(); }));
        throw 1;
    };
    EXPECT_THROW(RegisterAndRead(ConfigNamespace_t("some.namespace"), failing, failing.mutex, read), int);
}

}  // namespace
