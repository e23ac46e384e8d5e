// A second start and the first one: both are the program itself.
#include "tests/app/instance/InstanceTest.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace std::chrono_literals;
using namespace VintrelTests;

using SecondStartTest = InstanceTest;

TEST_F(SecondStartTest, reachesTheFirstAndEnds) {
    const auto first = startFirst();
    const std::vector<std::vector<std::string>> asking{
        {}, {"--show"}, {"vintrel://unknown"}, {"--action", "scan-now"}, {"--service"}};
    for (const auto& arguments : asking) {
        const auto second = start(arguments);
        EXPECT_EQ(second->status(), 0);
        EXPECT_EQ(second->output(), "");
    }
    EXPECT_TRUE(first->runs());
    EXPECT_EQ(owner(), first->pid());
}

TEST_F(SecondStartTest, needsNoScreen) {
    const auto first = startFirst();
    const auto second = start({"vintrel://unknown"}, {{"QT_QPA_PLATFORM", ""}});
    EXPECT_EQ(second->status(), 0);
    EXPECT_EQ(second->output(), "");
}

TEST_F(SecondStartTest, atTheSameMomentLeavesExactlyOne) {
    constexpr size_t count = 4;
    std::vector<std::unique_ptr<Start>> starts;
    for (size_t index = 0; index < count; ++index) {
        starts.push_back(start());
    }
    const auto running = [&starts] {
        return std::ranges::count_if(starts, [](const auto& start) { return start->runs(); });
    };
    ASSERT_TRUE(spinUntil([&] { return running() == 1; }));
    spinFor(100ms);
    EXPECT_EQ(running(), 1);
    for (const auto& start : starts) {
        if (start->runs()) {
            EXPECT_EQ(owner(), start->pid());
        } else {
            EXPECT_EQ(start->status(), 0) << start->output();
        }
    }
}

TEST_F(SecondStartTest, saysWhenTheFirstHangs) {
    const auto first = startFirst();
    first->signal(SIGSTOP);
    const auto second = start();
    EXPECT_EQ(second->status(), 1);
    EXPECT_EQ(second->output(), "vintrel-app: the program runs already, but does not answer\n");
    first->signal(SIGCONT);
    EXPECT_EQ(start()->status(), 0);
}

TEST_F(SecondStartTest, takesThePlaceOfOneThatWasKilled) {
    const auto first = startFirst();
    first->signal(SIGKILL);
    const auto second = start();
    EXPECT_TRUE(isTheOne(*second)) << second->output();
}

TEST_F(SecondStartTest, takesThePlaceOfOneThatEndsInsteadOfAnswering) {
    const auto first = startFirst();
    first->signal(SIGSTOP);
    const auto before = connections();
    const auto second = start();
    ASSERT_TRUE(spinUntil([&] { return connections() > before; }));
    ASSERT_TRUE(second->runs()) << "it waits for the answer";
    first->signal(SIGKILL);
    EXPECT_TRUE(isTheOne(*second)) << second->output();
}

TEST_F(SecondStartTest, takesThePlaceOfOneThatWasEnded) {
    const auto first = startFirst();
    first->signal(SIGTERM);
    EXPECT_EQ(first->status(), -SIGTERM);
    const auto second = start();
    EXPECT_TRUE(isTheOne(*second)) << second->output();
}
