// Links, with the program itself: what comes of them is seen by what it notifies its user of, and by strays
// that end.
#include "tests/app/instance/LinksTest.h"

#include "tests/support/Stray.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelTests;
using Texts = std::vector<std::string>;

TEST_F(LinksTest, startTheProgramThatStays) {
    const auto first = startFirst({"vintrel://clean"});
    EXPECT_EQ(titles(1), Texts{"Nothing to clean"});
    EXPECT_TRUE(first->runs());
    EXPECT_EQ(first->output(), "");
}

TEST_F(LinksTest, reachTheProgramThatRuns) {
    const auto first = startFirst();
    EXPECT_EQ(start({"vintrel://clean"})->status(), 0);
    EXPECT_EQ(titles(1), Texts{"Nothing to clean"});
    EXPECT_TRUE(first->runs());
}

TEST_F(LinksTest, areKnownInEverySpelling) {
    const auto first = startFirst();
    const Texts spellings{"VINTREL://Clean", "vintrel:clean", "vintrel:///clean", "vintrel://clean/now?x=1"};
    for (size_t count = 1; count <= spellings.size(); ++count) {
        EXPECT_EQ(start({spellings[count - 1]})->status(), 0);
        EXPECT_EQ(titles(count), Texts(count, "Nothing to clean")) << spellings[count - 1];
    }
}

TEST_F(LinksTest, thatAreUnknownAreIgnored) {
    const auto first = startFirst({"vintrel://", "vintrelx://clean"});
    EXPECT_EQ(start({"vintrel:", "https://clean", "vintrel://cleaner"})->status(), 0);
    EXPECT_EQ(start({"vintrel:clean"})->status(), 0);
    EXPECT_EQ(titles(1), Texts{"Nothing to clean"}) << "only the last";
    EXPECT_TRUE(first->runs());
}

TEST_F(LinksTest, toCleanEndStrays) {
    const Stray stray({.argv = {"vitest", "--watch"}});
    letStraysAge();
    const auto first = startFirst();
    EXPECT_EQ(start({"vintrel://clean"})->status(), 0);
    EXPECT_EQ(titles(1), Texts{"Cleaned 1 of 1"});
    EXPECT_FALSE(isRunning(stray.pid()));
}

TEST_F(LinksTest, toScanAnnounceEveryStray) {
    const Stray stray({.argv = {"vitest", "--watch"}});
    letStraysAge();
    const auto first = startFirst();
    for (size_t count = 1; count <= 2; ++count) {
        EXPECT_EQ(start({"vintrel://scan"})->status(), 0);
        EXPECT_EQ(titles(count), Texts(count, "New stray process"));
    }
    EXPECT_TRUE(isRunning(stray.pid()));
}

TEST_F(LinksTest, andActionsTellTheirResults) {
    const auto first = startFirst();
    EXPECT_EQ(start({"--action", "clean-safe-strays"})->status(), 0);
    EXPECT_EQ(titles(1), Texts{"Clean Safe Strays"});
    EXPECT_EQ(server.asked.back().body, "No unprotected safe-to-clean processes.");
    EXPECT_EQ(start({"--action", "scan-now"})->status(), 0);
    EXPECT_EQ(titles(2), (Texts{"Clean Safe Strays", "Scan Now"}));
    EXPECT_EQ(server.asked.back().body, "Rescanning for strays.");
}

TEST_F(LinksTest, andActionsOfAFirstStartTellTheirResults) {
    const auto first = startFirst({"--action", "clean-safe-strays"});
    EXPECT_EQ(titles(1), Texts{"Clean Safe Strays"});
}
