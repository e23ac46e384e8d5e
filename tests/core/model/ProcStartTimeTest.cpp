#include "VintrelCore/model/ProcStartTime.h"

#include <cstdint>
#include <functional>
#include <type_traits>
#include <unordered_set>

#include <gtest/gtest.h>

using VintrelCore::ProcStartTime;

namespace {

size_t hashOf(const ProcStartTime& time) {
    return std::hash<ProcStartTime>{}(time);
}

} // namespace

TEST(ProcStartTime, holdsSecondsBeforeMicroseconds) {
    const ProcStartTime time{1'700'000'000, 250'000};
    EXPECT_EQ(time.sec, 1'700'000'000);
    EXPECT_EQ(time.usec, 250'000);
}

TEST(ProcStartTime, isAPlainValueOfTwo64BitFields) {
    static_assert(std::is_same_v<decltype(ProcStartTime::sec), int64_t>);
    static_assert(std::is_same_v<decltype(ProcStartTime::usec), int64_t>);
    static_assert(std::is_trivially_copyable_v<ProcStartTime>);
    const ProcStartTime farFuture{INT64_MAX, 999'999};
    const ProcStartTime copy = farFuture;
    EXPECT_EQ(copy.sec, INT64_MAX);
    EXPECT_EQ(copy, farFuture);
}

TEST(ProcStartTime, isEqualOnlyWhenBothFieldsAre) {
    const ProcStartTime time{100, 5};
    EXPECT_EQ(time, (ProcStartTime{100, 5}));
    EXPECT_NE(time, (ProcStartTime{101, 5}));
    EXPECT_NE(time, (ProcStartTime{100, 6}));
    EXPECT_NE(time, (ProcStartTime{5, 100}));
}

TEST(ProcStartTime, hashesEqualStampsAlike) {
    EXPECT_EQ(hashOf({100, 5}), hashOf({100, 5}));
    EXPECT_EQ(hashOf({-1, 0}), hashOf({-1, 0}));
}

TEST(ProcStartTime, hashesBothFieldsInTheirOrder) {
    const size_t hash = hashOf({100, 5});
    EXPECT_NE(hash, hashOf({101, 5}));
    EXPECT_NE(hash, hashOf({100, 6}));
    EXPECT_NE(hash, hashOf({5, 100}));
}

// Stamps of one machine differ by little; a hash that merely adds or xors the fields would throw them
// together.
TEST(ProcStartTime, hashesNeighbouringStampsApart) {
    std::unordered_set<size_t> hashes;
    for (int64_t sec = 1'700'000'000; sec < 1'700'000'100; ++sec) {
        for (int64_t usec = 0; usec < 100; ++usec) {
            hashes.insert(hashOf({sec, usec}));
        }
    }
    EXPECT_EQ(hashes.size(), 10'000U);
}

TEST(ProcStartTime, worksAsAKey) {
    const std::unordered_set<ProcStartTime> seen{{100, 5}, {100, 6}, {100, 5}};
    EXPECT_EQ(seen.size(), 2U);
    EXPECT_TRUE(seen.contains({100, 6}));
    EXPECT_FALSE(seen.contains({101, 5}));
}
