// Every scan adds a sample of each candidate's processor use.
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

using Samples = std::vector<double>;

class EngineHistory : public EngineTest {
protected:
    /// Scans at a time, with what the processes had used by then.
    void scanAt(double seconds, const std::unordered_map<int32_t, double>& used) {
        world->reading = {.at = seconds, .used = used};
        scan();
    }

    Samples samplesOf(const ProcessItem& item) {
        return engine().scanHistory().samples(item.pid, item.startTime);
    }

    bool isIdle(const ProcessItem& item) {
        return engine().scanHistory().isSustainedLowCPU(item.pid, item.startTime);
    }
};

TEST_F(EngineHistory, theFirstSampleIsWhatPsSays) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {{1, 50}});
    EXPECT_EQ(samplesOf(safeItem(1)), Samples{0.25});
}

TEST_F(EngineHistory, laterSamplesAreTheShareSinceTheScanBefore) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {{1, 50}});
    scanAt(1'100, {{1, 51}});
    scanAt(1'300, {{1, 151}});
    EXPECT_EQ(samplesOf(safeItem(1)), (Samples{0.25, 1, 50}));
    EXPECT_FALSE(isIdle(safeItem(1)));
}

TEST_F(EngineHistory, scansInQuickSuccessionMakeOneSample) {
    world->found.items = {safeItem(1)};
    for (const double seconds : {1'000.0, 1'000.1, 1'000.2, 1'009.9}) {
        scanAt(seconds, {{1, 50 + seconds / 1'000}});
        EXPECT_EQ(samplesOf(safeItem(1)), Samples{0.25}) << seconds;
        EXPECT_FALSE(isIdle(safeItem(1)));
    }
    scanAt(1'020, {{1, 61}});
    EXPECT_EQ(samplesOf(safeItem(1)), (Samples{0.25, 50})) << "since the sample before";
}

TEST_F(EngineHistory, whoWorkedLongAgoIsIdle) {
    ProcessItem item = safeItem(1);
    item.cpuPercent = 40; // of its whole life, and only because it began with work
    world->found.items = {item};
    for (int round = 0; round <= 5; ++round) {
        EXPECT_FALSE(isIdle(item)) << round;
        scanAt(1'000 + 120 * round, {{1, 500 + 0.1 * round}});
    }
    EXPECT_TRUE(isIdle(item)) << "the busy sample has left the window";
    EXPECT_EQ(samplesOf(item).size(), 5U);
}

TEST_F(EngineHistory, whoBeganToSpinIsNotIdle) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {{1, 50}});
    scanAt(1'120, {{1, 50}});
    scanAt(1'240, {{1, 50}});
    EXPECT_TRUE(isIdle(safeItem(1)));
    scanAt(1'360, {{1, 170}}); // ps still says 0.25 %
    EXPECT_FALSE(isIdle(safeItem(1)));
    EXPECT_EQ(samplesOf(safeItem(1)).back(), 100);
}

TEST_F(EngineHistory, twoScansAreTooFewForAVerdict) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {{1, 50}});
    scanAt(1'120, {{1, 50}});
    EXPECT_FALSE(isIdle(safeItem(1)));
}

TEST_F(EngineHistory, whatIsFoldedIntoARowCounts) {
    const ProcessItem row = runnerItem(10, {11});
    world->found.items = {row};
    scanAt(1'000, {{10, 1}, {11, 30}});
    scanAt(1'100, {{10, 1}, {11, 80}});
    EXPECT_EQ(samplesOf(row), (Samples{0.25, 50}));
}

TEST_F(EngineHistory, whereTheKernelDoesNotTellItIsWhatPsSays) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {});
    scanAt(1'120, {});
    EXPECT_EQ(samplesOf(safeItem(1)), (Samples{0.25, 0.25}));
}

TEST_F(EngineHistory, aNumberThatWasUsedAgainBeginsAnew) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {{1, 50}});
    ProcessItem successor = safeItem(1);
    successor.startTime = VintrelCore::ProcStartTime{.sec = 7'000'000};
    world->found.items = {successor};
    scanAt(1'120, {{1, 110}});
    EXPECT_EQ(samplesOf(successor), Samples{0.25});
    EXPECT_TRUE(samplesOf(safeItem(1)).empty());
}

TEST_F(EngineHistory, whoWasAwayForAScanIsForgotten) {
    world->found.items = {safeItem(1)};
    scanAt(1'000, {{1, 50}});
    world->found.items = {safeItem(2)};
    scanAt(1'120, {{2, 5}});
    EXPECT_TRUE(samplesOf(safeItem(1)).empty());
    EXPECT_EQ(samplesOf(safeItem(2)).size(), 1U);
}

} // namespace Vintrel
