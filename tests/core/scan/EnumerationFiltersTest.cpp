#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/PipelineItems.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore {

using ScanCore::enumerate;
using ScanCore::EnumerateOptions;
using VintrelTests::find;
using VintrelTests::pidsOf;
using VintrelTests::prepared;
using VintrelTests::workday;

TEST(EnumerationFiltersTest, dropsCommandsThatContainAnIgnoredName) {
    struct Case {
        std::vector<std::string> ignoredNames;
        std::vector<int32_t> left;
    };

    const std::vector<Case> cases = {
        {{"jest"}, {100, 200}},
        {{"JEST  --Watch"}, {100, 200}},
        {{"jest --watch"}, {100, 300, 200}}, // the spacing of the command line counts
        {{"home/dev/SHOP"}, {100, 300}},
        {{"vitest", "jest"}, {100}},
        {{"nothing like it"}, {100, 300, 200}},
        {{""}, {100, 300, 200}},
    };
    for (const auto& [ignoredNames, left] : cases) {
        SCOPED_TRACE(ignoredNames.front());
        EnumerateOptions options = prepared(workday);
        options.ignoredNames = ignoredNames;
        EXPECT_EQ(pidsOf(enumerate(options)), left);
    }
}

TEST(EnumerationFiltersTest, ignoresNamesAsPeopleReadThem) {
    const auto left = [](const std::string& folder, const std::string& ignoredName) {
        const std::string table = "7 1 02:00:00 ? 0.0 10 /" + folder + "/jest\n";
        EnumerateOptions options = prepared(table);
        options.ignoredNames = {ignoredName};
        return enumerate(options).size();
    };
    EXPECT_EQ(left("straße", "STRASSE"), 0U);
    EXPECT_EQ(left("STRASSE", "straße"), 0U);
    EXPECT_EQ(left("CAFÉ", "café"), 0U);
    EXPECT_EQ(left("cafe\u0301", "CAF\u00C9"), 0U) << "one letter, spelled in two ways";
    EXPECT_EQ(left("café", "cafe"), 1U) << "e is another letter than é";
    EXPECT_EQ(left("cafe\u0301", "cafe"), 1U) << "even where the accent is a character of its own";
}

TEST(EnumerationFiltersTest, dropsDismissedProcesses) {
    EnumerateOptions options = prepared(workday);
    options.dismissedPIDs = {200, 300, 999};
    EXPECT_EQ(pidsOf(enumerate(options)), std::vector{100});
}

TEST(EnumerationFiltersTest, aRunnerWhoseServerIsIgnoredStaysARunner) {
    EnumerateOptions options = prepared(workday);
    options.ignoredNames = {".bin/vite "};
    const auto items = enumerate(options);
    ASSERT_NE(find(items, 100), nullptr);
    EXPECT_EQ(find(items, 100)->kind, ProcessKind::npm);
    EXPECT_EQ(find(items, 100)->rssKB, 50'000);
}

TEST(EnumerationFiltersTest, aRunnerWhoseServerIsDismissedStaysARunner) {
    EnumerateOptions options = prepared(workday);
    options.dismissedPIDs = {101};
    const auto items = enumerate(options);
    EXPECT_EQ(pidsOf(items), (std::vector{100, 300, 200}));
    EXPECT_EQ(items[0].kind, ProcessKind::npm);
    EXPECT_EQ(items[0].command, "npm run dev");
}

TEST(EnumerationFiltersTest, aServerWhoseRunnerIsGoneStandsForItself) {
    EnumerateOptions ignored = prepared(workday);
    ignored.ignoredNames = {"npm run"};
    EXPECT_EQ(pidsOf(enumerate(ignored)), (std::vector{101, 300, 200}));

    EnumerateOptions dismissed = prepared(workday);
    dismissed.dismissedPIDs = {100};
    EXPECT_EQ(pidsOf(enumerate(dismissed)), (std::vector{101, 300, 200}));
}

TEST(EnumerationFiltersTest, leavesOutDisabledKindsAfterCollapsing) {
    struct Case {
        std::string why;
        std::set<ProcessKind> disabledKinds;
        std::vector<int32_t> left;
    };

    const std::vector<Case> cases = {
        {"the merged row is a vite, and goes", {ProcessKind::vite}, {300, 200}},
        {"the runner was folded into a vite, and stays", {ProcessKind::npm}, {100, 300, 200}},
        {"two at once", {ProcessKind::jest, ProcessKind::vitest}, {100}},
        {"a kind that nobody is of", {ProcessKind::cargo}, {100, 300, 200}},
    };
    for (const auto& [why, disabledKinds, left] : cases) {
        SCOPED_TRACE(why);
        EnumerateOptions options = prepared(workday);
        options.disabledKinds = disabledKinds;
        EXPECT_EQ(pidsOf(enumerate(options)), left);
    }
}

TEST(EnumerationFiltersTest, aRunnerOnItsOwnGoesWithItsKind) {
    EnumerateOptions options = prepared("100 1 02:00:00 ? 0.0 50000 npm run dev\n");
    options.disabledKinds = {ProcessKind::npm};
    EXPECT_TRUE(enumerate(options).empty());
}

TEST(EnumerationFiltersTest, theKindOfCustomRulesCanBeDisabled) {
    EnumerateOptions options = prepared(workday);
    options.customRules = {{"ssh-agent", "Keys"}};
    options.disabledKinds = {ProcessKind::custom};
    EXPECT_EQ(pidsOf(enumerate(options)), (std::vector{100, 300, 200}));
}

} // namespace VintrelCore
