// What is decided without looking at any process.
#include "VintrelCore/terminate/KillCore.h"

#include <optional>
#include <unordered_map>
#include <unordered_set>

#include <gtest/gtest.h>

using namespace VintrelCore;
using KillCore::KillOutcome;

namespace {

constexpr std::optional<ProcStartTime> unknown;
constexpr std::optional<ProcStartTime> noon = ProcStartTime{.sec = 1'700'000'000, .usec = 250'000};
constexpr std::optional<ProcStartTime> aSecondLater = ProcStartTime{.sec = 1'700'000'001, .usec = 250'000};
constexpr std::optional<ProcStartTime> aTickLater = ProcStartTime{.sec = 1'700'000'000, .usec = 260'000};

} // namespace

TEST(PoliteSignal, goesToTheSameProcessOnly) {
    EXPECT_TRUE(KillCore::shouldSendSIGTERM(noon, noon));
    EXPECT_FALSE(KillCore::shouldSendSIGTERM(noon, aSecondLater));
    EXPECT_FALSE(KillCore::shouldSendSIGTERM(noon, aTickLater));
    EXPECT_FALSE(KillCore::shouldSendSIGTERM(aTickLater, noon));
}

TEST(PoliteSignal, isNotSentWhenTheProcessCannotBeKnownAgain) {
    EXPECT_FALSE(KillCore::shouldSendSIGTERM(noon, unknown));
}

TEST(PoliteSignal, isNotCheckedWhenTheScanKnewNoStart) {
    EXPECT_TRUE(KillCore::shouldSendSIGTERM(unknown, noon));
    EXPECT_TRUE(KillCore::shouldSendSIGTERM(unknown, unknown));
}

TEST(PoliteSignal, takesAStartAtTheEpochForAKnownOne) {
    const std::optional<ProcStartTime> epoch = ProcStartTime{};
    EXPECT_FALSE(KillCore::shouldSendSIGTERM(epoch, noon));
    EXPECT_FALSE(KillCore::shouldSendSIGTERM(epoch, unknown));
    EXPECT_TRUE(KillCore::shouldSendSIGTERM(epoch, epoch));
}

TEST(ForcedSignal, goesToTheSameProcessOnly) {
    EXPECT_TRUE(KillCore::shouldEscalateToSIGKILL(noon, noon));
    EXPECT_FALSE(KillCore::shouldEscalateToSIGKILL(noon, aSecondLater));
    EXPECT_FALSE(KillCore::shouldEscalateToSIGKILL(noon, aTickLater));
}

TEST(ForcedSignal, needsBothStarts) {
    EXPECT_FALSE(KillCore::shouldEscalateToSIGKILL(unknown, noon));
    EXPECT_FALSE(KillCore::shouldEscalateToSIGKILL(noon, unknown));
    EXPECT_FALSE(KillCore::shouldEscalateToSIGKILL(unknown, unknown));
}

TEST(GracePeriod, isTwoSeconds) {
    EXPECT_DOUBLE_EQ(KillCore::gracePeriod, 2.0);
    EXPECT_DOUBLE_EQ(KillCore::World().gracePeriod, 2.0);
}

TEST(KillOutcome, hasTwoCasesInThisOrder) {
    EXPECT_EQ(static_cast<int>(KillOutcome::confirmed), 0);
    EXPECT_EQ(static_cast<int>(KillOutcome::notKilled), 1);
}

TEST(KillOutcome, canBeComparedHashedAndKeptByPid) {
    const std::unordered_map<int32_t, KillOutcome> byPid{{17, KillOutcome::confirmed},
                                                         {18, KillOutcome::notKilled}};
    EXPECT_EQ(byPid.at(17), KillOutcome::confirmed);
    EXPECT_NE(byPid.at(17), byPid.at(18));
    const std::unordered_set<KillOutcome> different{KillOutcome::confirmed, KillOutcome::notKilled,
                                                    KillOutcome::confirmed};
    EXPECT_EQ(different.size(), 2U);
}

TEST(KillWorld, hasNoInterruptUnlessToldSo) {
    EXPECT_LT(KillCore::World().interrupt, 0);
}
