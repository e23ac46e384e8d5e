// Which values a stepper goes to.
#include "Vintrel/views/parts/StepperRow.h"

#include <optional>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

constexpr StepRange range{.least = 60, .most = 3'600, .step = 60};

} // namespace

TEST(StepRangeTest, anOfferedValueGoesOneStep) {
    EXPECT_EQ(range.above(120), 180);
    EXPECT_EQ(range.below(120), 60);
    EXPECT_EQ(range.above(3'540), 3'600);
    EXPECT_EQ(range.below(3'600), 3'540);
}

TEST(StepRangeTest, theEndsAreEnds) {
    EXPECT_EQ(range.below(60), std::nullopt);
    EXPECT_EQ(range.above(3'600), std::nullopt);
}

TEST(StepRangeTest, aValueBetweenStepsGoesToItsNeighbours) {
    EXPECT_EQ(range.above(90), 120);
    EXPECT_EQ(range.below(90), 60);
    EXPECT_EQ(range.above(119.9), 120);
    EXPECT_EQ(range.below(120.1), 120);
    EXPECT_EQ(range.above(3'599.5), 3'600);
}

TEST(StepRangeTest, aValueOutsideOfTheRangeGoesToItsEnd) {
    EXPECT_EQ(range.above(45), 60);
    EXPECT_EQ(range.above(0.001), 60);
    EXPECT_EQ(range.below(45), std::nullopt) << "less is not offered";
    EXPECT_EQ(range.below(5'000), 3'600);
    EXPECT_EQ(range.below(1e300), 3'600);
    EXPECT_EQ(range.above(5'000), std::nullopt);
}

TEST(StepRangeTest, stepsAreCountedFromTheLeast) {
    constexpr StepRange odd{.least = 50, .most = 195, .step = 60};
    EXPECT_EQ(odd.above(50), 110);
    EXPECT_EQ(odd.above(170), 195) << "the most is offered, too";
    EXPECT_EQ(odd.below(195), 170);
}

} // namespace Vintrel
