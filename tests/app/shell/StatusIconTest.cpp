// What the status icon says for what is known.
#include "Vintrel/shell/StatusIcon.h"

#include <limits>

#include <gtest/gtest.h>

namespace Vintrel::StatusIcon {

namespace {

std::string tooltipOf(const State& state) {
    return look(state).tooltip.toStdString();
}

} // namespace

TEST(StatusIcon, withNothingFoundIsTheOutline) {
    const Look look = StatusIcon::look({});
    EXPECT_EQ(look.symbolName, "cpu");
    EXPECT_EQ(look.number, std::nullopt);
    EXPECT_EQ(look.tone, Tone::none);
    EXPECT_EQ(look.title, "");
}

TEST(StatusIcon, whatIsSafeComesFirst) {
    const Look look = StatusIcon::look({.safe = 2, .review = 5});
    EXPECT_EQ(look.symbolName, "cpu.fill");
    EXPECT_EQ(look.number, 2);
    EXPECT_EQ(look.tone, Tone::red);
    EXPECT_EQ(look.title, " 2");
}

TEST(StatusIcon, withNothingSafeCountsWhatNeedsReview) {
    const Look look = StatusIcon::look({.safe = 0, .review = 5});
    EXPECT_EQ(look.symbolName, "cpu.fill");
    EXPECT_EQ(look.number, 5);
    EXPECT_EQ(look.tone, Tone::yellow);
    EXPECT_EQ(look.title, " 5");
}

TEST(StatusIcon, aScanComesBeforeAnyNumber) {
    const Look look = StatusIcon::look({.isScanning = true, .safe = 2, .review = 5});
    EXPECT_EQ(look.symbolName, "arrow.2.circlepath");
    EXPECT_EQ(look.number, std::nullopt);
    EXPECT_EQ(look.tone, Tone::none);
    EXPECT_EQ(look.title, "");
}

TEST(StatusIcon, aLargeNumberStandsInFull) {
    const Look look = StatusIcon::look({.safe = 1'234'567});
    EXPECT_EQ(look.number, 1'234'567);
    EXPECT_EQ(look.title, " 1234567");
    EXPECT_EQ(StatusIcon::look({.review = std::numeric_limits<int>::max()}).title, " 2147483647");
}

TEST(StatusIcon, theTooltipCountsBoth) {
    EXPECT_EQ(tooltipOf({.safe = 2, .review = 5}), "2 safe to clean, 5 need review");
    EXPECT_EQ(tooltipOf({.safe = 1, .review = 1}), "1 safe to clean, 1 needs review");
    EXPECT_EQ(tooltipOf({.safe = 12}), "12 safe to clean");
    EXPECT_EQ(tooltipOf({.review = 345}), "345 need review");
}

TEST(StatusIcon, theTooltipSaysWhenThereIsNothing) {
    EXPECT_EQ(tooltipOf({}), "No stray processes");
    EXPECT_EQ(tooltipOf({.hasScanned = false}), "Not scanned yet");
}

TEST(StatusIcon, theTooltipKeepsItsCountsDuringAScan) {
    EXPECT_EQ(tooltipOf({.isScanning = true}), "Scanning…");
    EXPECT_EQ(tooltipOf({.isScanning = true, .hasScanned = false}), "Scanning…");
    EXPECT_EQ(tooltipOf({.isScanning = true, .safe = 2, .review = 5}),
              "2 safe to clean, 5 need review, scanning…");
}

TEST(StatusIcon, theTooltipNamesTheProgramAndItsVersion) {
    EXPECT_EQ(look({.version = "1.2.3"}).tooltipTitle, "Vintrel 1.2.3");
    EXPECT_EQ(look({}).tooltipTitle, "Vintrel");
}

TEST(StatusIcon, looksThatAreTheSameCompareEqual) {
    EXPECT_EQ(look({.safe = 2, .review = 5}), look({.safe = 2, .review = 5}));
    EXPECT_NE(look({.safe = 2, .review = 5}), look({.safe = 2, .review = 6})) << "the tooltip differs";
    EXPECT_NE(look({.safe = 2}), look({.review = 2})) << "the colour differs";
}

TEST(StatusIcon, pulsesOnlyWhenThereAreMore) {
    EXPECT_TRUE(isPulseDue(3, 4));
    EXPECT_FALSE(isPulseDue(4, 2));
    EXPECT_TRUE(isPulseDue(2, 3));
    EXPECT_FALSE(isPulseDue(3, 3));
    EXPECT_TRUE(isPulseDue(0, 1));
    EXPECT_FALSE(isPulseDue(0, 0));
}

} // namespace Vintrel::StatusIcon
