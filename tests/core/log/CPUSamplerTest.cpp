#include "VintrelCore/log/CPUSampler.h"

#include <cmath>
#include <unordered_map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;

namespace {

ProcessItem itemOf(int32_t pid, double percentOfItsLife = 0.25) {
    return {.pid = pid,
            .command = "vite",
            .cpuPercent = percentOfItsLife,
            .startTime = ProcStartTime{.sec = 1'000 + pid, .usec = 5}};
}

/// Scans with prepared readings.
class Sampling {
public:
    explicit Sampling(std::vector<ProcessItem> of) : items(std::move(of)) {}

    std::vector<ProcessItem> items;

    std::vector<double> scanAt(double seconds, const std::unordered_map<int32_t, double>& used) {
        std::vector<double> samples;
        for (const auto& observation : m_sampler.observe(items, {.at = seconds, .used = used})) {
            samples.push_back(observation.cpuPercent);
        }
        return samples;
    }

private:
    CPUSampler m_sampler;
};

using Samples = std::vector<double>;

} // namespace

TEST(CPUSampler, observesEveryItemInOrder) {
    CPUSampler sampler;
    const std::vector items{itemOf(7), itemOf(3)};
    const auto observations = sampler.observe(items, {.at = 10, .used = {{3, 1}, {7, 2}}});
    ASSERT_EQ(observations.size(), 2U);
    EXPECT_EQ(observations[0].pid, 7);
    EXPECT_EQ(observations[0].startTime, itemOf(7).startTime);
    EXPECT_EQ(observations[1].pid, 3);
    EXPECT_EQ(observations[1].startTime, itemOf(3).startTime);
}

TEST(CPUSampler, ofNoItemsObservesNothing) {
    EXPECT_TRUE(CPUSampler().observe({}, {.at = 10, .used = {{1, 5}}}).empty());
}

TEST(CPUSampler, theFirstSampleIsTheShareOfTheWholeLife) {
    Sampling sampling({itemOf(1, 12.5)});
    EXPECT_EQ(sampling.scanAt(1'000, {{1, 60}}), Samples{12.5});
}

TEST(CPUSampler, isDueAfterTenSeconds) {
    CPUSampler sampler;
    EXPECT_TRUE(sampler.isDue({.at = 1'000})) << "the first";
    (void)sampler.observe({}, {.at = 1'000});
    for (const double tooSoon : {999.0, 1'000.0, 1'000.1, 1'009.9}) {
        EXPECT_FALSE(sampler.isDue({.at = tooSoon})) << tooSoon;
    }
    EXPECT_TRUE(sampler.isDue({.at = 1'010}));
}

TEST(CPUSampler, theNextIsTheShareSinceThen) {
    Sampling sampling({itemOf(1, 12.5)});
    (void)sampling.scanAt(1'000, {{1, 60}});
    EXPECT_EQ(sampling.scanAt(1'120, {{1, 60}}), Samples{0});
    EXPECT_EQ(sampling.scanAt(1'200, {{1, 100}}), Samples{50});
    EXPECT_EQ(sampling.scanAt(1'300, {{1, 101}}), Samples{1});
}

TEST(CPUSampler, severalProcessorsAddUp) {
    Sampling sampling({itemOf(1)});
    (void)sampling.scanAt(0, {{1, 0}});
    EXPECT_EQ(sampling.scanAt(10, {{1, 40}}), Samples{400});
}

TEST(CPUSampler, itemsAreSampledEachForItself) {
    Sampling sampling({itemOf(1), itemOf(2)});
    (void)sampling.scanAt(1'000, {{1, 60}, {2, 0}});
    EXPECT_EQ(sampling.scanAt(1'100, {{1, 60}, {2, 20}}), (Samples{0, 20}));
    sampling.items = {itemOf(2), itemOf(3, 7), itemOf(1)};
    EXPECT_EQ(sampling.scanAt(1'200, {{1, 61}, {2, 20}, {3, 5}}), (Samples{0, 7, 1}));
}

TEST(CPUSampler, whatIsFoldedIntoARowCounts) {
    ProcessItem row = itemOf(10);
    row.folded = {{.pid = 11}, {.pid = 12}};
    Sampling sampling({row});
    (void)sampling.scanAt(1'000, {{10, 1}, {11, 30}, {12, 5}});
    EXPECT_EQ(sampling.scanAt(1'100, {{10, 2}, {11, 50}, {12, 9}}), Samples{25});
}

TEST(CPUSampler, aNumberThatWasUsedAgainBeginsAnew) {
    Sampling sampling({itemOf(1)});
    (void)sampling.scanAt(1'000, {{1, 60}});
    sampling.items[0].startTime = ProcStartTime{.sec = 99'999};
    sampling.items[0].cpuPercent = 33;
    EXPECT_EQ(sampling.scanAt(1'100, {{1, 160}}), Samples{33});
    EXPECT_EQ(sampling.scanAt(1'200, {{1, 170}}), Samples{10});
}

TEST(CPUSampler, whereTheKernelDoesNotTellItIsTheShareOfTheWholeLife) {
    Sampling sampling({itemOf(1, 3)});
    (void)sampling.scanAt(1'000, {{1, 60}});
    EXPECT_EQ(sampling.scanAt(1'100, {}), Samples{3});
    EXPECT_EQ(sampling.scanAt(1'200, {}), Samples{3});
}

TEST(CPUSampler, aNewChildOfARowDoesNotMakeItLookBusy) {
    ProcessItem row = itemOf(10, 0.5);
    row.folded = {{.pid = 11}};
    Sampling sampling({row});
    (void)sampling.scanAt(1'000, {{10, 1}, {11, 30}});
    sampling.items[0].folded = {{.pid = 11}, {.pid = 12}};
    const double sample = sampling.scanAt(1'100, {{10, 1}, {11, 30}, {12, 500}}).at(0);
    EXPECT_LT(sample, 100) << "what 12 used before is not of this time";
}

TEST(CPUSampler, aChildOfARowThatHasEndedDoesNotMakeItNegative) {
    ProcessItem row = itemOf(10, 0.5);
    row.folded = {{.pid = 11}};
    Sampling sampling({row});
    (void)sampling.scanAt(1'000, {{10, 1}, {11, 30}});
    sampling.items[0].folded.clear();
    EXPECT_GE(sampling.scanAt(1'100, {{10, 2}}).at(0), 0);
    (void)sampling.scanAt(1'200, {{10, 2}, {11, 30}});
    EXPECT_GE(sampling.scanAt(1'300, {{10, 2}}).at(0), 0) << "and who is gone only from the kernel's records";
}

TEST(CPUSampler, twoReadingsOfOneMomentGiveANumber) {
    Sampling sampling({itemOf(1)});
    (void)sampling.scanAt(1'000, {{1, 60}});
    for (const double used : {60.0, 61.0}) {
        const double sample = sampling.scanAt(1'000, {{1, used}}).at(0);
        EXPECT_TRUE(std::isfinite(sample));
        EXPECT_GE(sample, 0);
    }
}

TEST(CPUSampler, makesAServerThatWorkedOnceIdle) {
    CPUSampler sampler;
    ScanHistory history;
    const std::vector items{itemOf(1, 50)};
    for (int scan = 0; scan < 6; ++scan) {
        EXPECT_FALSE(history.isSustainedLowCPU(1, items[0].startTime)) << scan;
        history = history.recording(sampler.observe(items, {.at = 120.0 * scan, .used = {{1, 60}}}));
    }
    EXPECT_TRUE(history.isSustainedLowCPU(1, items[0].startTime));
}
