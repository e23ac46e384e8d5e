// Numbers that become a stranger's at the worst moments. The strangers must never notice.
//
// Each test prints its figures; the nightly run sets VINTREL_LONG_TESTS for the full numbers. They run in
// namespaces of pids of their own, where the next number can be chosen.
#include "tests/torture/Recycling.h"

#include "VintrelCore/terminate/KillCore.h"
#include "tests/support/WithoutProcessDescriptors.h"
#include "tests/torture/NamespacedRun.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;
using KillCore::Moment;

namespace {

constexpr int batchSize = 200;

/// All of `most` in the nightly run, which has the time and sets the variable; a tenth of them elsewhere.
int times(int most) {
    return std::getenv("VINTREL_LONG_TESTS") != nullptr ? most : most / 10;
}

/// Every other one of a batch is recycled at the moment. What varies does so on both sides.
BatchPlan mixed(Moment moment, int size) {
    BatchPlan plan;
    for (int index = 0; index < size; ++index) {
        const bool isRecycled = index % 2 == 0;
        const bool signalsCome = !isRecycled || moment == Moment::duringGrace;
        VictimPlan victim{.ignoresSIGTERM = index % 4 >= 2};
        if (isRecycled) {
            victim.recycledAt = moment;
        }
        // Without a recorded start it is the process that has the number when the handle is opened.
        victim.hasRecordedStart = !(signalsCome && index % 8 >= 4);
        plan.victims.push_back(victim);
    }
    return plan;
}

/// Batches until `recycled` numbers have been recycled.
Figures runBatches(Moment moment, int recycled, bool alwaysAged) {
    Figures sum;
    for (int batch = 0; batch < 2 * recycled / batchSize; ++batch) {
        BatchPlan plan = mixed(moment, batchSize);
        // Of processes that cannot be told apart by their starts only the handle knows which is which.
        plan.isAged = alwaysAged || batch % 2 == 0;
        const Figures figures = runBatch(plan);
        if (!figures.isPrepared) {
            return {};
        }
        sum += figures;
    }
    return sum;
}

void expectNoStrangerSignalled(const Figures& figures, int recycled, const std::string& when) {
    std::cout << "recycled " << figures.recycled << ' ' << when << ": " << figures.strangersSignalled
              << " strangers signalled; of " << figures.others << " others " << figures.othersEnded
              << " ended\n";
    EXPECT_TRUE(figures.isPrepared) << "the run did not come to its end";
    EXPECT_EQ(figures.recycled, recycled);
    EXPECT_EQ(figures.notRecycled, 0);
    EXPECT_EQ(figures.strangersSignalled, 0);
    EXPECT_EQ(figures.others, recycled);
    EXPECT_EQ(figures.othersEnded, recycled);
    EXPECT_EQ(figures.wrongOutcomes, 0);
}

struct When {
    Moment moment;
    const char* words;
};

/// For the names of the tests.
void PrintTo(const When& when, std::ostream* out) {
    *out << when.words;
}

constexpr std::array moments{When{Moment::beforeOpening, "before the handle was opened"},
                             When{Moment::afterOpening, "after the handle was opened"},
                             When{Moment::afterComparison, "after the comparison"},
                             When{Moment::duringGrace, "during the grace period"}};

class Recycled : public ::testing::TestWithParam<When> {};

std::string nameOfMoment(const ::testing::TestParamInfo<When>& info) {
    return std::array{"beforeOpening", "afterOpening", "afterComparison", "duringGrace"}.at(info.index);
}

/// With the real grace period: processes recycled at every moment, and as many others.
Figures runWithTheRealWait() {
    BatchPlan plan{.gracePeriod = KillCore::gracePeriod};
    for (const When& when : moments) {
        for (const bool ignoresSIGTERM : {false, true}) {
            plan.victims.push_back({.recycledAt = when.moment, .ignoresSIGTERM = ignoresSIGTERM});
            plan.victims.push_back({.ignoresSIGTERM = ignoresSIGTERM});
        }
    }
    return runBatch(plan);
}

/// With the real grace period, and numbers that are recycled in the middle of it by nobody's arrangement.
Figures runRecyclingInTheMiddle() {
    BatchPlan plan = mixed(Moment::duringGrace, 40);
    plan.gracePeriod = KillCore::gracePeriod;
    plan.recycledAfter = KillCore::gracePeriod / 2;
    return runBatch(plan);
}

/// Twenty runs side by side, each in namespaces of its own.
Figures twentyTimes(const std::function<Figures()>& work) {
    std::vector<NamespacedRun> runs;
    for (int run = 0; run < 20; ++run) {
        runs.emplace_back(work);
    }
    Figures sum;
    for (NamespacedRun& run : runs) {
        const Figures figures = run.wait();
        EXPECT_TRUE(figures.isPrepared) << "a run did not come to its end";
        sum += figures;
    }
    return sum;
}

} // namespace

TEST_P(Recycled, noStrangerIsSignalled) {
    VINTREL_NEEDS_NAMESPACES();
    const auto [moment, words] = GetParam();
    // Before the handle is opened there is nothing but the start to tell a stranger by.
    const bool alwaysAged = moment == Moment::beforeOpening;
    NamespacedRun run([when = moment, alwaysAged] { return runBatches(when, times(10'000), alwaysAged); });
    expectNoStrangerSignalled(run.wait(), times(10'000), words);
}

TEST_P(Recycled, withoutProcessDescriptorsNoStrangerIsSignalled) {
    VINTREL_NEEDS_NAMESPACES();
    const auto [moment, words] = GetParam();
    for (const int error : {EPERM, ENOSYS}) {
        NamespacedRun run([when = moment, error] {
            return refuseProcessDescriptors(error) ? runBatches(when, times(1'000), true) : Figures();
        });
        const std::string refused = error == EPERM ? "forbidden" : "unknown to the kernel";
        expectNoStrangerSignalled(run.wait(), times(1'000),
                                  std::string(words) + ", process descriptors being " + refused);
    }
}

INSTANTIATE_TEST_SUITE_P(Numbers, Recycled, ::testing::ValuesIn(moments), nameOfMoment);

TEST(RecycledWithTheRealWait, twentyTimesAtEveryMomentNoStrangerIsSignalled) {
    VINTREL_NEEDS_NAMESPACES();
    const Figures figures = twentyTimes(runWithTheRealWait);
    expectNoStrangerSignalled(figures, 20 * 8, "in 20 runs with the real grace period");
    EXPECT_GE(figures.shortestWait, KillCore::gracePeriod);
}

TEST(RecycledWithTheRealWait, twentyTimesInTheMiddleOfItNoStrangerIsSignalled) {
    VINTREL_NEEDS_NAMESPACES();
    const Figures figures = twentyTimes(runRecyclingInTheMiddle);
    expectNoStrangerSignalled(figures, 20 * 20, "in the middle of 20 real grace periods");
    EXPECT_GE(figures.shortestWait, KillCore::gracePeriod);
}

TEST(Strangers, noticeEverySignal) {
    VINTREL_NEEDS_NAMESPACES();
    // The counting itself: whoever compares nothing, and signals by number, is found out every time.
    for (const int signal : {SIGTERM, SIGCONT, SIGKILL}) {
        BatchPlan plan = mixed(Moment::beforeOpening, 40);
        plan.careless = signal;
        NamespacedRun run([&] { return runBatch(plan); });
        const Figures figures = run.wait();
        EXPECT_EQ(figures.recycled, 20);
        EXPECT_EQ(figures.strangersSignalled, 20) << "signal " << signal;
        EXPECT_EQ(figures.othersEnded, signal == SIGKILL ? 20 : signal == SIGTERM ? 10 : 0);
    }
}
