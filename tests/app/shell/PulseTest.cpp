// How the icon draws attention to itself.
#include "Vintrel/shell/Pulse.h"

#include "tests/app/support/AppTest.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;
using namespace VintrelTests;

class PulseTest : public AppTest {
public:
    Pulse pulse;
    std::vector<double> frames;

    PulseTest() {
        QObject::connect(&pulse, &Pulse::frame, &pulse,
                         [this](double opacity) { frames.push_back(opacity); });
    }

    [[nodiscard]] bool isOver() const {
        return spinUntil([this] { return !pulse.isRunning(); });
    }
};

} // namespace

TEST_F(PulseTest, goesToAQuarterAndBack) {
    EXPECT_DOUBLE_EQ(Pulse::opacityAfter(0ms), 1);
    EXPECT_DOUBLE_EQ(Pulse::opacityAfter(180ms), 0.25);
    EXPECT_DOUBLE_EQ(Pulse::opacityAfter(530ms), 1);
    EXPECT_DOUBLE_EQ(Pulse::opacityAfter(10s), 1);
    EXPECT_NEAR(Pulse::opacityAfter(90ms), 0.625, 0.01);
    EXPECT_NEAR(Pulse::opacityAfter(355ms), 0.625, 0.01);
}

TEST_F(PulseTest, getsFainterAndThenStronger) {
    for (auto time = 0ms; time < 170ms; time += 10ms) {
        EXPECT_GT(Pulse::opacityAfter(time), Pulse::opacityAfter(time + 10ms));
    }
    for (auto time = 180ms; time < 520ms; time += 10ms) {
        EXPECT_LT(Pulse::opacityAfter(time), Pulse::opacityAfter(time + 10ms));
    }
}

TEST_F(PulseTest, endsWithTheWholeAndWithoutATimer) {
    EXPECT_FALSE(pulse.isRunning());
    pulse.start();
    EXPECT_TRUE(pulse.isRunning());
    ASSERT_TRUE(isOver());
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back(), 1);
    EXPECT_LT(*std::ranges::min_element(frames), 1);
    EXPECT_LE(frames.size(), 14U) << "each is a message to the panel";
    const size_t count = frames.size();
    spinFor(150ms);
    EXPECT_EQ(frames.size(), count);
}

TEST_F(PulseTest, beginsAnewInTheMiddle) {
    pulse.start();
    ASSERT_TRUE(spinUntil([this] { return frames.size() >= 2; }));
    pulse.start();
    ASSERT_TRUE(isOver());
    EXPECT_EQ(frames.back(), 1);
    EXPECT_EQ(std::ranges::count(frames, 1.0), 1);
}

} // namespace Vintrel
