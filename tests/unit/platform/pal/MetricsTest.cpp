// What a process counts of itself, as monitoring reads it. Names are this test's own: the metrics are the process's.
#include "LumPalMetrics.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace LumPalMetrics {
namespace {

bool Holds(const std::string& line) {
    return ("\n" + WriteText()).find("\n" + line + "\n") != std::string::npos;
}

TEST(Metrics, ACounterGrowsByItsLabels) {
    Counter_t counter("test_counted_total", "What was counted.");
    counter.Add({{"kind", "a"}});
    counter.Add({{"kind", "a"}});
    counter.Add({{"kind", "b"}});
    EXPECT_TRUE(Holds("# HELP test_counted_total What was counted."));
    EXPECT_TRUE(Holds("# TYPE test_counted_total counter"));
    EXPECT_TRUE(Holds("test_counted_total{kind=\"a\"} 2"));
    EXPECT_TRUE(Holds("test_counted_total{kind=\"b\"} 1"));
}

TEST(Metrics, ACounterWithoutLabelsIsToldBeforeItsFirstEventWhenItBeginsAtZero) {
    Counter_t counter("test_begun_total", "What has not happened.");
    EXPECT_FALSE(Holds("test_begun_total 0"));
    counter.BeginAtZero();
    EXPECT_TRUE(Holds("test_begun_total 0"));
    counter.Add();
    counter.BeginAtZero();
    EXPECT_TRUE(Holds("test_begun_total 1"));
}

TEST(Metrics, ALabelsTextIsEscaped) {
    Counter_t counter("test_escaped_total", "Escapes.");
    counter.Add({{"text", "a\"b\\c\nd"}});
    EXPECT_TRUE(Holds("test_escaped_total{text=\"a\\\"b\\\\c\\nd\"} 1"));
}

TEST(Metrics, DurationsFallIntoBucketsAndAreSummedUp) {
    Durations_t durations("test_took_seconds", "How long it took.");
    durations.Observe(0.0005);
    durations.Observe(0.3);
    durations.Observe(100);
    EXPECT_TRUE(Holds("test_took_seconds_bucket{le=\"0.001\"} 1"));
    EXPECT_TRUE(Holds("test_took_seconds_bucket{le=\"0.5\"} 2"));
    EXPECT_TRUE(Holds("test_took_seconds_bucket{le=\"60\"} 2"));
    EXPECT_TRUE(Holds("test_took_seconds_bucket{le=\"+Inf\"} 3"));
    EXPECT_TRUE(Holds("test_took_seconds_count 3"));
}

TEST(Metrics, ValuesAreAskedForAsLongAsTheirObjectLives) {
    double value = 1;
    {
        const Values_t values("test_value", "A value.", [&] { return std::vector<Sample>{{{{"of", "x"}}, value}}; });
        EXPECT_TRUE(Holds("test_value{of=\"x\"} 1"));
        value = -2.5;
        EXPECT_TRUE(Holds("test_value{of=\"x\"} -2.5"));
    }
    EXPECT_EQ(WriteText().find("test_value"), std::string::npos);
}

TEST(Metrics, ASourceThatThrowsIsLeftOutAndTheOthersAreTold) {
    const Values_t broken("test_broken", "Throws.", []() -> std::vector<Sample> { throw std::runtime_error("no"); });
    const Values_t whole("test_whole", "Does not.", [] { return std::vector<Sample>{{{}, 1}}; });
    EXPECT_EQ(WriteText().find("test_broken"), std::string::npos);
    EXPECT_TRUE(Holds("test_whole 1"));
}

TEST(Metrics, ThreadsCountTogether) {
    Counter_t counter("test_threads_total", "Of several threads.");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&counter] {
            for (int n = 0; n < 1000; ++n) counter.Add({{"n", std::to_string(n % 3)}});
        });
    }
    for (int i = 0; i < 20; ++i) WriteText();
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(Holds("test_threads_total{n=\"0\"} 1336"));
    EXPECT_TRUE(Holds("test_threads_total{n=\"2\"} 1332"));
}

TEST(Metrics, TheFamiliesAreSortedByName) {
    Counter_t later("test_z_total", "Later.");
    Counter_t earlier("test_y_total", "Earlier.");
    later.Add();
    earlier.Add();
    const std::string text = WriteText();
    EXPECT_LT(text.find("test_y_total"), text.find("test_z_total"));
}

}  // namespace
}  // namespace LumPalMetrics
