// What "kill" and "clean" choose and say.
#include "VintrelCore/command/CLIEnding.h"

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelCore::CLIEnding;
using KillCore::isLeftRunning;
using KillCore::KillDetail;
using KillCore::KillOutcome;

namespace {

ProcessItem itemOf(int32_t pid, RiskTier tier = RiskTier::easy) {
    return {.pid = pid, .command = "vite", .kind = ProcessKind::vite, .riskTier = tier, .rssKB = 2'048};
}

Ending endingOf(int32_t pid, KillOutcome outcome, KillDetail detail, std::vector<int32_t> left = {}) {
    return {.item = itemOf(pid), .result = {.outcome = outcome, .detail = detail, .left = std::move(left)}};
}

CLIScan::Result scanOf(std::vector<ProcessItem> items) {
    CLIScan::Result scan;
    scan.items = std::move(items);
    return scan;
}

const CwdResolver::CwdMap inShop{{42, {.label = "shop/web", .fullPath = "~/shop/web"}}};

} // namespace

TEST(ItemToKill, isTheCandidateOfThatPidInAnyBucket) {
    const auto scan = scanOf({itemOf(41), itemOf(42, RiskTier::high)});
    const auto item = itemToKill(42, scan);
    ASSERT_TRUE(item);
    EXPECT_EQ(*item, scan.items[1]);
}

TEST(ItemToKill, aPidThatIsNoCandidateIsRefused) {
    const auto item = itemToKill(43, scanOf({itemOf(42)}));
    ASSERT_FALSE(item);
    EXPECT_EQ(item.error(), "43 is not among the candidates; nothing was ended");
}

TEST(ItemToKill, aFoldedPidIsAnsweredWithItsRow) {
    ProcessItem runner = itemOf(4'242);
    runner.folded = {{.pid = 4'243}, {.pid = 4'244}};
    for (const int32_t pid : {4'243, 4'244}) {
        const auto item = itemToKill(pid, scanOf({itemOf(7), runner}));
        ASSERT_FALSE(item);
        EXPECT_EQ(item.error(), std::to_string(pid) + " is part of 4242: vintrel kill 4242");
    }
}

TEST(ItemToKill, aRowOfItsOwnGoesBeforeARowItIsFoldedInto) {
    ProcessItem runner = itemOf(41);
    runner.folded = {{.pid = 42}};
    const auto item = itemToKill(42, scanOf({runner, itemOf(42)}));
    ASSERT_TRUE(item);
    EXPECT_EQ(item->pid, 42);
}

TEST(ItemsToClean, areTheSafeOnesThatAreNotProtectedInOrder) {
    auto scan = scanOf({itemOf(1'001), itemOf(1'002, RiskTier::high), itemOf(1'003),
                        itemOf(1'004, RiskTier::high), itemOf(1'005)});
    scan.protectedPIDs = {1'003};
    const auto items = itemsToClean(scan);
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].pid, 1'001);
    EXPECT_EQ(items[1].pid, 1'005);
}

TEST(ItemsToClean, leaveOutAndNameThoseWhoseFolderWouldHaveToBeKnown) {
    auto scan = scanOf({itemOf(1'001), itemOf(1'002), itemOf(1'003, RiskTier::high)});
    scan.unknownFolderPIDs = {1'002, 1'003};
    const auto items = itemsToClean(scan);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].pid, 1'001);
    const auto lines = leftOut(scan);
    ASSERT_EQ(lines.size(), 1U) << "what needs review is in no sweep anyway";
    EXPECT_TRUE(lines[0].ends_with(" 1002 is not in the sweep: its folder is unknown")) << lines[0];
}

TEST(ReasonNotToClean, isThatAFactThatProtectsIsMissing) {
    EXPECT_EQ(reasonNotToClean({}, {}, std::nullopt), std::nullopt);
    EXPECT_EQ(reasonNotToClean({.table = Shell::Fault::broken}, {}, std::nullopt),
              "without ps, no processes are known; nothing was ended");
    EXPECT_EQ(reasonNotToClean({.details = Shell::Fault::tooSlow}, {}, std::nullopt),
              "without lsof, what is protected is unknown; nothing was ended");
    EXPECT_EQ(reasonNotToClean({}, {}, "the settings in /x are damaged"),
              "the settings in /x are damaged; what is protected is unknown, and nothing was ended");
}

TEST(ReasonNotToClean, isThatFoldersAreUnknownWhereRulesGoByThem) {
    const ScanRules protecting{.protectedProjects = {"~/shop"}};
    const ScanRules ignoring{.ignoredNames = {"vite @ ~/shop"}};
    const ScanRules others{.ignoredNames = {"vite"}, .disabledKinds = {ProcessKind::bun}};
    for (const ScanRules& rules : {protecting, ignoring}) {
        EXPECT_EQ(reasonNotToClean({.metDeadMount = true}, rules, std::nullopt),
                  "a mount does not answer; what is protected is unknown, and nothing was ended");
        EXPECT_EQ(reasonNotToClean({.foldersUnknown = true}, rules, std::nullopt),
                  "no working directory could be found out; what is protected is unknown, and nothing was "
                  "ended");
    }
    EXPECT_EQ(reasonNotToClean({.metDeadMount = true, .foldersUnknown = true}, others, std::nullopt),
              std::nullopt);
}

TEST(ResultLine, saysWhatItWasAndWhatBecameOfIt) {
    EXPECT_EQ(resultLine(endingOf(42, KillOutcome::confirmed, KillDetail::ended), inShop),
              "Vite 42 (shop/web): ended");
    EXPECT_EQ(resultLine(endingOf(43, KillOutcome::confirmed, KillDetail::containerStopped), inShop),
              "Vite 43: container stopped");
}

TEST(ResultLine, hasPlainWordsForEveryDetail) {
    const std::vector<std::pair<KillDetail, std::string>> words{
        {KillDetail::containerStopped, "container stopped"},
        {KillDetail::ended, "ended"},
        {KillDetail::stillThere, "still there, even after being forced"},
        {KillDetail::alreadyGone, "already gone"},
        {KillDetail::notTheSame, "no longer the same process, left alone"},
        {KillDetail::notPermitted, "not permitted"},
        {KillDetail::refused, "refused"},
        {KillDetail::interrupted, "still running when the wait was interrupted"},
    };
    for (const auto& [detail, text] : words) {
        EXPECT_EQ(resultLine(endingOf(43, KillOutcome::notKilled, detail), {}), "Vite 43: " + text);
    }
}

TEST(ResultLine, namesTheUsersLabelAndNothingThatSteersATerminal) {
    Ending ending = endingOf(42, KillOutcome::confirmed, KillDetail::ended);
    ending.item.customLabel = "My\x1b[2J daemon";
    const CwdResolver::CwdMap cwds{{42, {.label = "a\tb", .fullPath = "/a\tb"}}};
    EXPECT_EQ(resultLine(ending, cwds), "My?[2J daemon 42 (a b): ended");
}

TEST(ResultLine, namesWhatOfARowRunsOn) {
    EXPECT_EQ(resultLine(endingOf(42, KillOutcome::confirmed, KillDetail::stillThere, {42}), {}),
              "Vite 42: still there, even after being forced");
    EXPECT_EQ(resultLine(endingOf(42, KillOutcome::notKilled, KillDetail::alreadyGone, {43, 44}), {}),
              "Vite 42: already gone; still running: 43, 44");
}

TEST(ClosingLine, countsWhatWasCleanedAndItsMemory) {
    const std::vector<Ending> endings{endingOf(42, KillOutcome::confirmed, KillDetail::ended),
                                      endingOf(43, KillOutcome::confirmed, KillDetail::containerStopped),
                                      endingOf(44, KillOutcome::confirmed, KillDetail::stillThere, {44}),
                                      endingOf(45, KillOutcome::confirmed, KillDetail::ended, {46}),
                                      endingOf(47, KillOutcome::notKilled, KillDetail::notPermitted, {47})};
    EXPECT_EQ(closingLine(endings), "Cleaned 2 of 5, ~4 MB reclaimed");
    EXPECT_EQ(closingLine(std::span(endings).last(1)), "Cleaned 0 of 1, ~0 KB reclaimed");
}

TEST(IsLeftRunning, goesByWhatMayRunOn) {
    EXPECT_FALSE(isLeftRunning({.outcome = KillOutcome::confirmed, .detail = KillDetail::ended}));
    EXPECT_FALSE(isLeftRunning({.outcome = KillOutcome::notKilled, .detail = KillDetail::alreadyGone}));
    EXPECT_FALSE(isLeftRunning({.outcome = KillOutcome::notKilled, .detail = KillDetail::notTheSame}));
    EXPECT_TRUE(
        isLeftRunning({.outcome = KillOutcome::notKilled, .detail = KillDetail::alreadyGone, .left = {43}}));
    EXPECT_TRUE(
        isLeftRunning({.outcome = KillOutcome::confirmed, .detail = KillDetail::stillThere, .left = {42}}));
}

TEST(CleanEvents, areThoseOfWhatCountsAsCleaned) {
    const Instant now{std::chrono::seconds(1'700'000'000)};
    std::vector<Ending> endings{endingOf(42, KillOutcome::confirmed, KillDetail::ended),
                                endingOf(43, KillOutcome::confirmed, KillDetail::containerStopped),
                                endingOf(44, KillOutcome::confirmed, KillDetail::stillThere, {44}),
                                endingOf(45, KillOutcome::notKilled, KillDetail::interrupted, {45})};
    endings[0].item.customLabel = "My server";
    const auto events = cleanEvents(endings, inShop, now);
    const std::vector<CleanEvent> expected{
        {.kind = "Vite", .projectLabel = "shop/web", .rssKB = 2'048, .timestamp = now},
        {.kind = "Vite", .projectLabel = "—", .rssKB = 2'048, .timestamp = now}};
    EXPECT_EQ(events, expected);
}
