#include "Vintrel/engine/Announcements.h"

#include "Vintrel/engine/ByteCount.h"
#include "tests/app/support/PreparedSources.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::ProcessItem;
using VintrelCore::ProcessKind;
using VintrelTests::reviewItem;
using VintrelTests::safeItem;

namespace {

ProcessItem itemWith(int32_t pid, ProcessKind kind, const std::string& command) {
    ProcessItem item = safeItem(pid);
    item.kind = kind;
    item.command = command;
    return item;
}

} // namespace

TEST(AnnouncementsOfNewStrays, thereIsNoneWithoutANewItem) {
    EXPECT_EQ(Announcements::newStrays({}, {}), std::nullopt);
    EXPECT_EQ(Announcements::newStrays({}, {1, 2}), std::nullopt);
    EXPECT_EQ(Announcements::newStrays(std::vector{safeItem(1), safeItem(2)}, {1, 2, 3}), std::nullopt);
}

TEST(AnnouncementsOfNewStrays, oneIsNamedWithItsPath) {
    const std::vector items{safeItem(1),
                            itemWith(2, ProcessKind::jest, "/opt/x/node_modules/.bin/jest --watch")};
    EXPECT_EQ(Announcements::newStrays(items, {1}),
              (UserNotification{.title = "New stray process", .body = "Jest: .bin/jest"}));
}

TEST(AnnouncementsOfNewStrays, oneWithoutAPathIsNamedWithItsCommand) {
    const std::vector items{itemWith(2, ProcessKind::npm, "npm run dev")};
    EXPECT_EQ(Announcements::newStrays(items, {}),
              (UserNotification{.title = "New stray process", .body = "npm: npm"}));
}

TEST(AnnouncementsOfNewStrays, oneWithTheUsersLabelHasThat) {
    std::vector items{itemWith(2, ProcessKind::custom, "/usr/bin/agent")};
    items[0].customLabel = "My agent: keys";
    EXPECT_EQ(Announcements::newStrays(items, {}),
              (UserNotification{.title = "New stray process", .body = "My agent: keys: bin/agent"}));
}

TEST(AnnouncementsOfNewStrays, severalAreCountedAndNamedInOrder) {
    std::vector items{itemWith(9, ProcessKind::vite, "vite"), itemWith(1, ProcessKind::jest, "jest"),
                      itemWith(5, ProcessKind::vite, "vite"), itemWith(2, ProcessKind::custom, "agent")};
    items[3].customLabel = "Agent";
    EXPECT_EQ(Announcements::newStrays(items, {1}),
              (UserNotification{.title = "3 new stray processes", .body = "Vite, Vite, Agent"}));
}

TEST(AnnouncementsOfNewStrays, theBucketDoesNotMatter) {
    const std::vector items{reviewItem(1), safeItem(2)};
    EXPECT_EQ(Announcements::newStrays(items, {})->title, "2 new stray processes");
}

TEST(AnnouncementsOfNewStrays, largeNumbersHaveNoSeparators) {
    std::vector<ProcessItem> items;
    for (int32_t pid = 1; pid <= 1'234; ++pid) {
        items.push_back(safeItem(pid));
    }
    EXPECT_EQ(Announcements::newStrays(items, {})->title, "1234 new stray processes");
}

TEST(AnnouncementsOfCleans, countsAndNamesTheMemory) {
    EXPECT_EQ(
        Announcements::cleanResult({3, 2, 512}),
        (UserNotification{.title = "Cleaned 2 of 3", .body = "~" + memoryText(512 * 1'024) + " reclaimed"}));
    EXPECT_EQ(Announcements::cleanResult({12, 12, 300'000}),
              (UserNotification{.title = "Cleaned 12 of 12",
                                .body = "~" + memoryText(int64_t{300'000} * 1'024) + " reclaimed"}));
}

TEST(AnnouncementsOfCleans, theMemoryIsInUnitsOf1024) {
    EXPECT_TRUE(Announcements::cleanResult({1, 1, 512}).body.starts_with("~512 ")) << memoryText(512 * 1'024);
    EXPECT_TRUE(Announcements::cleanResult({1, 1, 3 * 1'024}).body.starts_with("~3")) << memoryText(3 << 20);
}

TEST(AnnouncementsOfCleans, nothingThatEndedIsStillAResult) {
    EXPECT_EQ(Announcements::cleanResult({3, 0, 0}).title, "Cleaned 0 of 3");
    EXPECT_EQ(Announcements::cleanResult({3, 0, 0}).body, "~" + memoryText(0) + " reclaimed");
}

TEST(AnnouncementsOfCleans, nothingToCleanHasWordsOfItsOwn) {
    EXPECT_EQ(
        Announcements::cleanResult({}),
        (UserNotification{.title = "Nothing to clean", .body = "No unprotected safe-to-clean processes."}));
}

TEST(AnnouncementsOfCleans, amountsBeyondBytesAreNotNegative) {
    const std::string body = Announcements::cleanResult({1, 1, std::numeric_limits<int64_t>::max()}).body;
    EXPECT_EQ(body.find('-'), std::string::npos) << body;
    EXPECT_EQ(body.find("~0 "), std::string::npos) << body;
}

TEST(AnnouncementsOfCleans, aRefusalSaysWhy) {
    const auto refusal = Announcements::cleanRefused("without lsof, what is protected is unknown");
    EXPECT_NE(refusal.body.find("ithout lsof, what is protected is unknown"), std::string::npos)
        << refusal.body;
    EXPECT_FALSE(refusal.title.empty());
    EXPECT_NE(refusal.title, Announcements::cleanResult({}).title);
}

TEST(AnnouncementsOfWhatWasNotEnded, thereAreNoneForWhatIsGone) {
    using namespace VintrelCore::KillCore;
    EXPECT_EQ(Announcements::notEnded({KillOutcome::confirmed, KillDetail::ended}), std::nullopt);
    EXPECT_EQ(Announcements::notEnded({KillOutcome::confirmed, KillDetail::containerStopped}), std::nullopt);
    EXPECT_EQ(Announcements::notEnded({KillOutcome::notKilled, KillDetail::alreadyGone}), std::nullopt);
}

TEST(AnnouncementsOfWhatWasNotEnded, sayWhy) {
    using namespace VintrelCore::KillCore;
    EXPECT_EQ(Announcements::notEnded({KillOutcome::notKilled, KillDetail::notPermitted, {7}}),
              "Not ended: not permitted");
    EXPECT_EQ(Announcements::notEnded({KillOutcome::notKilled, KillDetail::notTheSame}),
              "Not ended: no longer the same process, left alone");
    EXPECT_EQ(Announcements::notEnded({KillOutcome::confirmed, KillDetail::stillThere, {7}}),
              "Not ended: still there, even after being forced");
    EXPECT_EQ(Announcements::notEnded({KillOutcome::confirmed, KillDetail::ended, {8}}),
              "Not all of it has ended");
}

} // namespace Vintrel
