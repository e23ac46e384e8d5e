#include "VintrelCore/log/ScanHistory.h"

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;

namespace {

using Samples = std::vector<double>;
using Observations = std::vector<ScanHistory::Observation>;

constexpr int32_t pid = 4242;
constexpr ProcStartTime start{.sec = 1'000, .usec = 500'000};

/// A history of one process with one scan for each sample.
ScanHistory historyOf(const Samples& samples, int windowDepth = ScanHistory::defaultWindowDepth) {
    ScanHistory history(windowDepth);
    for (const double sample : samples) {
        history = history.recording(Observations{{.pid = pid, .startTime = start, .cpuPercent = sample}});
    }
    return history;
}

bool isIdle(const Samples& samples) {
    return historyOf(samples).isSustainedLowCPU(pid, start);
}

} // namespace

TEST(ScanHistory, theConstantsAreTheOnesOfTheVerdict) {
    EXPECT_EQ(ScanHistory::defaultWindowDepth, 5);
    EXPECT_EQ(ScanHistory::defaultLowCPUThreshold, 1.0);
    EXPECT_EQ(ScanHistory::defaultMinimumSamples, 3U);
    EXPECT_EQ(ScanHistory().windowDepth(), 5);
    EXPECT_EQ(ScanHistory(7).windowDepth(), 7);
}

TEST(ScanHistory, aNewOneKnowsNothing) {
    EXPECT_EQ(ScanHistory().samples(pid, start), Samples{});
    EXPECT_FALSE(ScanHistory().isSustainedLowCPU(pid, start));
}

TEST(ScanHistory, keepsTheSamplesOldestFirst) {
    EXPECT_EQ(historyOf({0.5, 12.5, 3.0}).samples(pid, start), (Samples{0.5, 12.5, 3.0}));
}

TEST(ScanHistory, keepsNoMoreThanTheDepthOfTheWindow) {
    EXPECT_EQ(historyOf({1, 2, 3, 4, 5}).samples(pid, start), (Samples{1, 2, 3, 4, 5}));
    EXPECT_EQ(historyOf({1, 2, 3, 4, 5, 6, 7}).samples(pid, start), (Samples{3, 4, 5, 6, 7}));
    EXPECT_EQ(historyOf({1, 2, 3}, 1).samples(pid, start), Samples{3});
}

TEST(ScanHistory, aWindowWithoutDepthKeepsEmptySeries) {
    const ScanHistory history = historyOf({0, 0, 0, 0}, 0);
    EXPECT_EQ(history.windowDepth(), 0);
    EXPECT_EQ(history.samples(pid, start), Samples{});
    EXPECT_FALSE(history.isSustainedLowCPU(pid, start));
    EXPECT_FALSE(history.isSustainedLowCPU(pid, start, 1.0, 1));
}

TEST(ScanHistory, theDepthStaysFromScanToScan) {
    EXPECT_EQ(historyOf({1, 2, 3}, 2).windowDepth(), 2);
    EXPECT_EQ(ScanHistory(2).recording({}).windowDepth(), 2);
}

TEST(ScanHistory, recordingLeavesTheOldHistoryAsItIs) {
    const ScanHistory before = historyOf({1, 2});
    const ScanHistory after =
        before.recording(Observations{{.pid = pid, .startTime = start, .cpuPercent = 3}});
    EXPECT_EQ(before.samples(pid, start), (Samples{1, 2}));
    EXPECT_EQ(after.samples(pid, start), (Samples{1, 2, 3}));
}

TEST(ScanHistory, eachProcessHasASeriesOfItsOwn) {
    const Observations scan{{.pid = 1, .startTime = start, .cpuPercent = 10},
                            {.pid = 2, .startTime = start, .cpuPercent = 20},
                            {.pid = -3, .startTime = start, .cpuPercent = 30}};
    const ScanHistory history = ScanHistory().recording(scan).recording(scan);
    EXPECT_EQ(history.samples(1, start), (Samples{10, 10}));
    EXPECT_EQ(history.samples(2, start), (Samples{20, 20}));
    EXPECT_EQ(history.samples(-3, start), (Samples{30, 30}));
    EXPECT_EQ(history.samples(4, start), Samples{});
}

TEST(ScanHistory, aNumberThatWasUsedAgainStartsAfresh) {
    constexpr ProcStartTime later{.sec = 1'000, .usec = 500'001};
    const ScanHistory history =
        historyOf({0, 0}).recording(Observations{{.pid = pid, .startTime = later, .cpuPercent = 9}});
    EXPECT_EQ(history.samples(pid, later), Samples{9});
    EXPECT_EQ(history.samples(pid, start), Samples{});
    EXPECT_EQ(history.samples(pid, std::nullopt), Samples{});
}

TEST(ScanHistory, anUnknownStartTimeIsAnIdentityToo) {
    constexpr ProcStartTime epoch{};
    const Observations scan{{.pid = pid, .startTime = std::nullopt, .cpuPercent = 1},
                            {.pid = pid, .startTime = epoch, .cpuPercent = 2}};
    const ScanHistory history = ScanHistory().recording(scan).recording(scan);
    EXPECT_EQ(history.samples(pid, std::nullopt), (Samples{1, 1}));
    EXPECT_EQ(history.samples(pid, epoch), (Samples{2, 2}));
}

TEST(ScanHistory, whoeverIsMissingFromOneScanIsForgotten) {
    const ScanHistory gone = historyOf({0, 0, 0}).recording({});
    EXPECT_EQ(gone.samples(pid, start), Samples{});
    EXPECT_FALSE(gone.isSustainedLowCPU(pid, start));
    const ScanHistory back =
        gone.recording(Observations{{.pid = pid, .startTime = start, .cpuPercent = 0.5}});
    EXPECT_EQ(back.samples(pid, start), Samples{0.5});
}

TEST(ScanHistory, ofTwoObservationsInOneScanTheLaterCounts) {
    const ScanHistory history =
        historyOf({1, 2}).recording(Observations{{.pid = pid, .startTime = start, .cpuPercent = 3},
                                                 {.pid = pid, .startTime = start, .cpuPercent = 4}});
    EXPECT_EQ(history.samples(pid, start), (Samples{1, 2, 4}));
}

TEST(ScanHistory, aThousandProcessesKeepTheirSamplesApart) {
    ScanHistory history;
    for (int scan = 0; scan < 6; ++scan) {
        Observations observations;
        for (int32_t number = 1; number <= 1'000; ++number) {
            observations.push_back({.pid = number, .startTime = start, .cpuPercent = number + scan / 10.0});
        }
        history = history.recording(observations);
    }
    for (int32_t number = 1; number <= 1'000; ++number) {
        const double n = number;
        ASSERT_EQ(history.samples(number, start), (Samples{n + .1, n + .2, n + .3, n + .4, n + .5}));
    }
}

TEST(SustainedLowCPU, needsEnoughSamples) {
    EXPECT_FALSE(isIdle({}));
    EXPECT_FALSE(isIdle({0}));
    EXPECT_FALSE(isIdle({0, 0}));
    EXPECT_TRUE(isIdle({0, 0, 0}));
    EXPECT_TRUE(isIdle({0, 0, 0, 0, 0, 0}));
}

TEST(SustainedLowCPU, theThresholdItselfIsNotLow) {
    EXPECT_FALSE(isIdle({0.2, 0.5, 1.0}));
    EXPECT_TRUE(isIdle({0.2, 0.5, 0.999999}));
}

TEST(SustainedLowCPU, oneBusySampleAnywhereInTheWindowIsEnough) {
    EXPECT_FALSE(isIdle({50, 0, 0, 0, 0}));
    EXPECT_FALSE(isIdle({0, 0, 50, 0, 0}));
    EXPECT_FALSE(isIdle({0, 0, 0, 0, 50}));
}

TEST(SustainedLowCPU, whatLeftTheWindowDoesNotCount) {
    EXPECT_TRUE(isIdle({50, 0.1, 0.1, 0.1, 0.1, 0.1}));
    EXPECT_FALSE(isIdle({0.1, 50, 0.1, 0.1, 0.1, 0.1}));
}

TEST(SustainedLowCPU, thresholdAndMinimumAreTheCallers) {
    const ScanHistory history = historyOf({3, 4});
    EXPECT_TRUE(history.isSustainedLowCPU(pid, start, 5.0, 2));
    EXPECT_FALSE(history.isSustainedLowCPU(pid, start, 4.0, 2));
    EXPECT_FALSE(history.isSustainedLowCPU(pid, start, 5.0, 3));
    EXPECT_FALSE(history.isSustainedLowCPU(pid, start, 5.0, std::numeric_limits<size_t>::max()));
    EXPECT_FALSE(historyOf({0, 0, 0}).isSustainedLowCPU(pid, start, 0.0, 3));
}

TEST(SustainedLowCPU, whereNoSampleIsNeededNoneIsBusy) {
    EXPECT_TRUE(ScanHistory().isSustainedLowCPU(pid, start, 1.0, 0));
    EXPECT_FALSE(historyOf({2}).isSustainedLowCPU(pid, start, 1.0, 0));
}

TEST(SustainedLowCPU, aSampleThatIsNoNumberIsNeverIdle) {
    const double none = std::nan("");
    EXPECT_FALSE(isIdle({none, none, none}));
    EXPECT_FALSE(isIdle({0, 0, none}));
    EXPECT_FALSE(isIdle({none, 0, 0, 0, 0}));
    EXPECT_TRUE(isIdle({none, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(historyOf({0, 0, 0}).isSustainedLowCPU(pid, start, none, 3));
}

TEST(SustainedLowCPU, infinitiesAreNumbers) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(isIdle({0, 0, infinity}));
    EXPECT_TRUE(isIdle({0, 0, -infinity}));
    EXPECT_TRUE(historyOf({1, 2, 3}).isSustainedLowCPU(pid, start, infinity, 3));
}

TEST(SustainedLowCPU, anotherProcessesSamplesDoNotCount) {
    const ScanHistory history = historyOf({0, 0, 0});
    EXPECT_FALSE(history.isSustainedLowCPU(pid + 1, start));
    EXPECT_FALSE(history.isSustainedLowCPU(pid, std::nullopt));
    EXPECT_FALSE(history.isSustainedLowCPU(pid, ProcStartTime{.sec = 1'001}));
}
