// What the cleaned tab says, without a widget.
#include "Vintrel/views/CleanedFacts.h"

#include "Vintrel/views/RelativeTime.h"
#include "tests/core/log/Events.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using VintrelCore::CleanEvent;
using VintrelTests::eventAt;
using Events = std::vector<CleanEvent>;
using Texts = std::vector<std::string>;

constexpr int64_t now = 1'700'000'000;
constexpr int64_t day = 86'400;

CleanedFacts factsOf(const Events& events) {
    return cleanedFacts(events, VintrelTests::second(now), RelativeTime("en_US"));
}

/// Events of these kinds, a second apart.
Events ofKinds(const Texts& kinds) {
    Events events;
    for (const std::string& kind : kinds) {
        events.push_back(eventAt(now - 100 + static_cast<int64_t>(events.size()), kind));
    }
    return events;
}

} // namespace

TEST(RamString, kilobytesBelowOneMegabyte) {
    EXPECT_EQ(ramString(0), "0 KB");
    EXPECT_EQ(ramString(1), "1 KB");
    EXPECT_EQ(ramString(812), "812 KB");
    EXPECT_EQ(ramString(1'023), "1023 KB");
}

TEST(RamString, wholeMegabytesFromThere) {
    EXPECT_EQ(ramString(1'024), "1 MB");
    EXPECT_EQ(ramString(2'047), "1 MB");
    EXPECT_EQ(ramString(2'048), "2 MB");
    EXPECT_EQ(ramString(157'000), "153 MB");
}

TEST(RamString, neverGigabytes) {
    EXPECT_EQ(ramString(2'097'152), "2048 MB");
    EXPECT_EQ(ramString(std::numeric_limits<int64_t>::max()), "9007199254740991 MB");
}

TEST(RamString, whatIsNegativeIsBelowOneMegabyte) {
    EXPECT_EQ(ramString(-5), "-5 KB");
    EXPECT_EQ(ramString(std::numeric_limits<int64_t>::min()), "-9223372036854775808 KB");
}

TEST(CleanedFactsTest, withoutEventsThereIsNothing) {
    const CleanedFacts facts = factsOf({});
    EXPECT_TRUE(facts.isEmpty);
    EXPECT_TRUE(facts.chips.empty());
    EXPECT_TRUE(facts.rows.empty());
}

TEST(CleanedFactsTest, sumsUpTheWeek) {
    const CleanedFacts facts = factsOf(
        {eventAt(now - 8 * day, "Vite", "old", 9'999'999), eventAt(now - 2 * day, "Vite", "shop", 200'000),
         eventAt(now - day, "Jest", "shop", 200'000), eventAt(now - 1, "Vite", "blog", 22'000)});
    EXPECT_FALSE(facts.isEmpty);
    EXPECT_EQ(facts.cleaned, "3 cleaned");
    EXPECT_EQ(facts.reclaimed, "~412 MB reclaimed");
    EXPECT_EQ(facts.chips, (Texts{"Vite ×2", "Jest ×1"}));
    EXPECT_EQ(facts.rows.size(), 4U);
}

TEST(CleanedFactsTest, aWeekIsSevenDaysToTheSecond) {
    EXPECT_EQ(factsOf({eventAt(now - 7 * day)}).cleaned, "1 cleaned");
    EXPECT_EQ(factsOf({eventAt(now - 7 * day - 1)}).cleaned, "0 cleaned");
}

TEST(CleanedFactsTest, oneEventOfEightDaysAgoLeavesTheWeekEmpty) {
    const CleanedFacts facts = factsOf({eventAt(now - 8 * day, "Vite", "shop", 2'048)});
    EXPECT_FALSE(facts.isEmpty);
    EXPECT_EQ(facts.cleaned, "0 cleaned");
    EXPECT_EQ(facts.reclaimed, "~0 KB reclaimed");
    EXPECT_TRUE(facts.chips.empty());
    const std::vector<CleanedRowTexts> expected{
        {.kind = "Vite", .projectLabel = "shop", .ram = "2 MB", .age = "last wk."}};
    EXPECT_EQ(facts.rows, expected);
}

TEST(CleanedFactsTest, threeKindsHaveChips) {
    const CleanedFacts facts =
        factsOf(ofKinds({"webpack", "tsx", "Vite", "Jest", "tsx", "Vite", "Jest", "Vite"}));
    EXPECT_EQ(facts.chips, (Texts{"Vite ×3", "Jest ×2", "tsx ×2"}));
}

TEST(CleanedFactsTest, aTieForTheLastChipGoesByTheAlphabet) {
    EXPECT_EQ(factsOf(ofKinds({"d", "c", "b", "a"})).chips, (Texts{"a ×1", "b ×1", "c ×1"}));
}

TEST(CleanedFactsTest, fiftyAreShownTheNewestFirst) {
    Events events;
    for (int64_t number = 0; number < 60; ++number) {
        events.push_back(eventAt(now - 1'000 + number, "Vite", "p" + std::to_string(number)));
    }
    const CleanedFacts facts = factsOf(events);
    ASSERT_EQ(facts.rows.size(), 50U);
    EXPECT_EQ(facts.rows.front().projectLabel, "p59");
    EXPECT_EQ(facts.rows[1].projectLabel, "p58");
    EXPECT_EQ(facts.rows.back().projectLabel, "p10");
    EXPECT_EQ(facts.cleaned, "60 cleaned");
}

TEST(CleanedFactsTest, theNewestAreFoundInAnyOrder) {
    const CleanedFacts facts =
        factsOf({eventAt(now - 1, "Vite", "newest"), eventAt(now - 9, "Vite", "oldest"),
                 eventAt(now - 5, "Vite", "first"), eventAt(now - 5, "Vite", "second")});
    Texts labels;
    for (const CleanedRowTexts& row : facts.rows) {
        labels.push_back(row.projectLabel);
    }
    EXPECT_EQ(labels, (Texts{"newest", "second", "first", "oldest"}));
}

TEST(CleanedFactsTest, aRowTellsItsMemoryAndAge) {
    const std::vector<CleanedRowTexts> expected{
        {.kind = "Vite", .projectLabel = "shop/apps/web", .ram = "1 MB", .age = "now"},
        {.kind = "Jest", .projectLabel = "—", .ram = "1023 KB", .age = "5 min. ago"},
        {.kind = "tsx", .projectLabel = "notes", .ram = "153 MB", .age = "yesterday"}};
    EXPECT_EQ(factsOf({eventAt(now - day, "tsx", "notes", 157'000), eventAt(now - 300, "Jest", "—", 1'023),
                       eventAt(now, "Vite", "shop/apps/web", 1'024)})
                  .rows,
              expected);
}

TEST(CleanedFactsTest, anEventOfTheFutureIsNowAndNotOfThisWeek) {
    const CleanedFacts facts = factsOf({eventAt(now + 3'600)});
    EXPECT_EQ(facts.cleaned, "0 cleaned");
    EXPECT_EQ(facts.rows.front().age, "now");
}

TEST(CleanedFactsTest, memoryDoesNotOverflow) {
    constexpr int64_t most = std::numeric_limits<int64_t>::max();
    EXPECT_EQ(factsOf({eventAt(now - 2, "Vite", "a", most), eventAt(now - 1, "Vite", "b", most)}).reclaimed,
              "~9007199254740991 MB reclaimed");
}

TEST(CleanedFactsTest, nothingForeignIsObeyed) {
    const CleanedFacts facts = factsOf({eventAt(now, "Vi\x1bte", "sh\u202eop\nx")});
    EXPECT_EQ(facts.chips, Texts{"Vi?te ×1"});
    EXPECT_EQ(facts.rows.front().kind, "Vi?te");
    EXPECT_EQ(facts.rows.front().projectLabel, "sh?op x");
}

TEST(CleanedFactsTest, aRowReadsAsASentence) {
    EXPECT_EQ(
        cleanedSentence({.kind = "Vite", .projectLabel = "shop/web", .ram = "153 MB", .age = "5 min. ago"}),
        "Vite in shop/web, 153 MB, cleaned 5 min. ago");
}

TEST(CleanedFactsTest, withoutAProjectTheSentenceNamesNone) {
    for (const char* const label : {"—", ""}) {
        EXPECT_EQ(
            cleanedSentence({.kind = "Vite", .projectLabel = label, .ram = "153 MB", .age = "yesterday"}),
            "Vite, 153 MB, cleaned yesterday");
    }
}

} // namespace Vintrel
