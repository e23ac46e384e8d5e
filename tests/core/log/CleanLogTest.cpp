#include "VintrelCore/log/CleanLog.h"

#include "tests/core/log/Events.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace std::chrono_literals;
using CleanLog::capped;
using CleanLog::KindCount;
using CleanLog::stats;
using CleanLog::Stats;
using VintrelTests::eventAt;
using VintrelTests::eventsFrom;
using VintrelTests::second;

namespace {

using Events = std::vector<CleanEvent>;

constexpr int64_t most = std::numeric_limits<int64_t>::max();
constexpr int64_t least = std::numeric_limits<int64_t>::min();
constexpr double infinity = std::numeric_limits<double>::infinity();

CleanEvent at(Instant moment, std::string kind = "Vite", int64_t rssKB = 1) {
    return {.kind = std::move(kind), .projectLabel = "shop", .rssKB = rssKB, .timestamp = moment};
}

} // namespace

TEST(CleanLogStats, countsTheEventsOfTheWindowAndTheirMemory) {
    const Events events{eventAt(100, "Vite", "shop", 10), eventAt(900, "Vite", "shop", 200),
                        eventAt(950, "Jest", "blog", 3'000)};
    const Stats expected{.count = 2, .ramReclaimedKB = 3'200, .topKinds = {{"Jest", 1}, {"Vite", 1}}};
    EXPECT_EQ(stats(events, second(1'000), 500), expected);
}

TEST(CleanLogStats, withoutEventsAllIsZero) {
    EXPECT_EQ(stats({}, second(1'000), 500), Stats{});
    EXPECT_EQ(stats(Events{eventAt(10)}, second(1'000), 500), Stats{});
}

TEST(CleanLogStats, bothEndsOfTheWindowBelongToIt) {
    const Instant now = second(1'000'000);
    const double week = 604'800;
    const Instant cutoff = now - 604'800s;
    EXPECT_EQ(stats(Events{at(cutoff)}, now, week).count, 1U);
    EXPECT_EQ(stats(Events{at(now)}, now, week).count, 1U);
    EXPECT_EQ(stats(Events{at(cutoff - 1s)}, now, week).count, 0U);
    EXPECT_EQ(stats(Events{at(now + 1s)}, now, week).count, 0U);
    EXPECT_EQ(stats(Events{at(cutoff - 1us)}, now, week).count, 0U);
    EXPECT_EQ(stats(Events{at(now + 1us)}, now, week).count, 0U);
    EXPECT_EQ(stats(Events{at(cutoff + 1us), at(now - 1us)}, now, week).count, 2U);
}

TEST(CleanLogStats, aWindowMayBeAFractionOfASecond) {
    const Instant now = second(1'000);
    const Events events{at(now - 500ms), at(now - 500ms - 1us), at(now - 250ms)};
    EXPECT_EQ(stats(events, now, 0.5).count, 2U);
}

TEST(CleanLogStats, anEmptyWindowHoldsOnlyThisMoment) {
    const Instant now = second(1'000);
    EXPECT_EQ(stats(Events{at(now - 1us), at(now), at(now), at(now + 1us)}, now, 0).count, 2U);
}

TEST(CleanLogStats, aWindowThatEndsBeforeItBeginsHoldsNothing) {
    const Instant now = second(1'000);
    const Events events{at(now - 1s), at(now), at(now + 1s), at(Instant::min()), at(Instant::max())};
    for (const double window : {-0.5, -1.0, -1e18, -1e300, -infinity}) {
        EXPECT_EQ(stats(events, now, window).count, 0U) << window;
    }
}

TEST(CleanLogStats, aHugeWindowHoldsAllOfThePast) {
    const Instant now = second(1'000);
    const Events events{at(Instant::min()), at(second(-62'135'596'800)), at(now), at(now + 1us),
                        at(Instant::max())};
    for (const double window : {1e14, 1e18, 1e19, 1e300, std::numeric_limits<double>::max(), infinity}) {
        EXPECT_EQ(stats(events, now, window).count, 3U) << window;
    }
}

TEST(CleanLogStats, aWindowThatIsNoNumberHoldsNothing) {
    EXPECT_EQ(stats(Events{eventAt(1'000)}, second(1'000), std::nan("")).count, 0U);
}

TEST(CleanLogStats, theEndsOfTimeAreMomentsLikeOthers) {
    const Events events{at(Instant::min()), at(second(0)), at(Instant::max())};
    EXPECT_EQ(stats(events, Instant::min(), 60).count, 1U);
    EXPECT_EQ(stats(events, Instant::min(), infinity).count, 1U);
    EXPECT_EQ(stats(events, Instant::min(), -60).count, 0U);
    EXPECT_EQ(stats(events, Instant::max(), 60).count, 1U);
    EXPECT_EQ(stats(events, Instant::max(), infinity).count, 3U);
    EXPECT_EQ(stats(events, Instant::max(), -infinity).count, 0U);
}

TEST(CleanLogStats, aSumThatDoesNotFitStaysAtTheLimit) {
    const Instant now = second(1'000);
    const Events large{at(now, "Vite", most), at(now, "Vite", 1), at(now, "Vite", most)};
    EXPECT_EQ(stats(large, now, 1).ramReclaimedKB, most);
    EXPECT_EQ(stats(large, now, 1).count, 3U);
    const Events small{at(now, "Vite", least), at(now, "Vite", -1), at(now, "Vite", least)};
    EXPECT_EQ(stats(small, now, 1).ramReclaimedKB, least);
    const Events exact{at(now, "Vite", most - 1), at(now, "Vite", 1)};
    EXPECT_EQ(stats(exact, now, 1).ramReclaimedKB, most);
    const Events mixed{at(now, "Vite", most), at(now, "Vite", least), at(now, "Vite", 2)};
    EXPECT_EQ(stats(mixed, now, 1).ramReclaimedKB, 1);
}

TEST(CleanLogStats, memoryMayBeZeroOrNegativeInADamagedRecord) {
    const Instant now = second(1'000);
    EXPECT_EQ(
        stats(Events{at(now, "Vite", 0), at(now, "Vite", -5), at(now, "Vite", 7)}, now, 1).ramReclaimedKB, 2);
}

TEST(CleanLogStats, theMostFrequentKindComesFirst) {
    const Events events{eventAt(1, "Jest"), eventAt(2, "Vite"), eventAt(3, "node"),
                        eventAt(4, "Vite"), eventAt(5, "node"), eventAt(6, "node")};
    EXPECT_EQ(stats(events, second(10), 60).topKinds,
              (std::vector<KindCount>{{"node", 3}, {"Vite", 2}, {"Jest", 1}}));
}

TEST(CleanLogStats, equallyFrequentKindsAreInTheOrderOfTheirBytes) {
    const Events events{eventAt(1, "Vite"), eventAt(2, "Jest"), eventAt(3, "esbuild"), eventAt(4, ""),
                        eventAt(5, "Ä"),    eventAt(6, "Vit"),  eventAt(7, "Zig")};
    EXPECT_EQ(stats(events, second(10), 60).topKinds,
              (std::vector<KindCount>{
                  {"", 1}, {"Jest", 1}, {"Vit", 1}, {"Vite", 1}, {"Zig", 1}, {"esbuild", 1}, {"Ä", 1}}));
}

TEST(CleanLogStats, kindsThatDifferInCaseAreDifferent) {
    const Events events{eventAt(1, "vite"), eventAt(2, "Vite"), eventAt(3, "vite"), eventAt(4, "vite ")};
    EXPECT_EQ(stats(events, second(10), 60).topKinds,
              (std::vector<KindCount>{{"vite", 2}, {"Vite", 1}, {"vite ", 1}}));
}

TEST(CleanLogStats, onlyKindsOfTheWindowAreCountedAndAllOfThem) {
    Events events{eventAt(1, "old"), eventAt(2'000, "future")};
    for (int number = 10; number < 60; ++number) {
        events.push_back(eventAt(900, "kind " + std::to_string(number)));
    }
    const auto kinds = stats(events, second(1'000), 500).topKinds;
    ASSERT_EQ(kinds.size(), 50U);
    EXPECT_EQ(kinds.front(), (KindCount{"kind 10", 1}));
    EXPECT_EQ(kinds.back(), (KindCount{"kind 59", 1}));
}

TEST(CleanLogStats, theOrderOfTheEventsDoesNotMatter) {
    Events events{eventAt(3, "Vite", "a", 1), eventAt(1, "Jest", "b", 2), eventAt(2, "Vite", "c", 3)};
    const Stats before = stats(events, second(10), 60);
    std::ranges::reverse(events);
    EXPECT_EQ(stats(events, second(10), 60), before);
}

TEST(CleanLogCapped, keepsTheNewestOldestFirst) {
    const Events events{eventAt(3), eventAt(1), eventAt(5), eventAt(2), eventAt(4)};
    EXPECT_EQ(capped(events, 3), eventsFrom(3, 5));
    EXPECT_EQ(capped(events, 1), eventsFrom(5, 5));
}

TEST(CleanLogCapped, sortsWhatFitsWhole) {
    const Events events{eventAt(3), eventAt(1), eventAt(5), eventAt(2), eventAt(4)};
    for (const int64_t cap : {int64_t{5}, int64_t{6}, int64_t{10}, most}) {
        EXPECT_EQ(capped(events, cap), eventsFrom(1, 5)) << cap;
    }
    EXPECT_EQ(capped({}, 10), Events{});
}

TEST(CleanLogCapped, aCapBelowOneKeepsNothing) {
    for (const int64_t cap : {int64_t{0}, int64_t{-1}, least}) {
        EXPECT_EQ(capped(eventsFrom(1, 5), cap), Events{}) << cap;
    }
}

TEST(CleanLogCapped, eventsOfTheSameMomentKeepTheirOrder) {
    Events events;
    for (int number = 0; number < 600; ++number) { // enough for a sort to take its other ways
        events.push_back(eventAt(number % 3, std::to_string(number)));
    }
    const Events sorted = capped(events, 600);
    ASSERT_EQ(sorted.size(), 600U);
    for (size_t place = 1; place < sorted.size(); ++place) {
        const CleanEvent& before = sorted[place - 1];
        const CleanEvent& after = sorted[place];
        ASSERT_LE(before.timestamp, after.timestamp);
        if (before.timestamp == after.timestamp) {
            ASSERT_LT(std::stoi(before.kind), std::stoi(after.kind));
        }
    }
    EXPECT_EQ(capped(Events{eventAt(1, "first"), eventAt(1, "second"), eventAt(1, "third")}, 2),
              (Events{eventAt(1, "second"), eventAt(1, "third")}));
}

TEST(CleanLogCapped, fractionsOfASecondCount) {
    const Events events{at(second(1) + 2us, "b"), at(second(1) + 1us, "a"), at(second(-1), "before")};
    EXPECT_EQ(capped(events, 9),
              (Events{at(second(-1), "before"), at(second(1) + 1us, "a"), at(second(1) + 2us, "b")}));
}

TEST(CleanLogCapped, theEndsOfTimeAreSortedToo) {
    const Events events{at(Instant::max()), at(second(0)), at(Instant::min())};
    EXPECT_EQ(capped(events, 3), (Events{at(Instant::min()), at(second(0)), at(Instant::max())}));
}
