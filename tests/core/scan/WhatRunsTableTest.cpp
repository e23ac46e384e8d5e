#include "tests/core/scan/WhatRunsTable.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/RiskTier.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/WhatRuns.h"
#include "tests/core/scan/FoundName.h"
#include "tests/core/scan/KindName.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

/// As processes are classified: "node (vitest 1)" is "node vitest 1", and the other folder of a helper's
/// profile makes it one, too.
std::optional<ProcessKind> kindOf(const std::vector<std::string>& arguments) {
    if (WhatRuns::isPlaywrightMCPBrowser(arguments)) {
        return ProcessKind::chromeHelper;
    }
    std::string line = joinedArguments(arguments);
    if (line.starts_with("node (")) {
        std::erase(line, '(');
        std::erase(line, ')');
    }
    return ScanCore::detectKind(Text::trimmedBlanks(line));
}

bool holdBlanks(const std::vector<std::string>& arguments) {
    return std::ranges::any_of(arguments, [](const std::string& argument) {
        return argument.empty() || argument.find_first_of(" \n") != std::string::npos;
    });
}

/// One word in single quotes, as a shell takes it.
std::string inQuotes(std::string_view word) {
    std::string text = "'";
    for (const char byte : word) {
        text += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    }
    return text + "'";
}

std::string scriptOf(const std::vector<std::string>& arguments) {
    std::string script;
    for (const std::string& argument : arguments) {
        script.append(script.empty() ? "" : " ").append(inQuotes(argument));
    }
    return script;
}

/// Titles and login shells' names are a process' own doing: nobody types them.
bool canBeTyped(const WhatRunsRow& row) {
    const std::string& program = row.arguments.front();
    return !program.empty() && !program.starts_with('-') && !program.contains(' ');
}

} // namespace

TEST(WhatRunsTable, saysWhereTheToolOfEachCommandLineIsFound) {
    const auto rows = whatRunsTable();
    ASSERT_GE(rows.size(), 300U);
    for (const WhatRunsRow& row : rows) {
        const std::string line = joinedArguments(row.arguments);
        const auto kind = kindOf(row.arguments);
        EXPECT_EQ(kindName(kind), row.kind) << line;
        ASSERT_TRUE(kind) << line;
        EXPECT_EQ(foundName(WhatRuns::foundIn(*kind, row.arguments)), row.found) << line;
    }
}

TEST(WhatRunsTable, lowersExactlyTheStraysWhoseToolIsNamedInArgumentsAlone) {
    std::set<std::string> verdicts;
    for (const WhatRunsRow& row : whatRunsTable()) {
        const auto kind = ProcessKinds::fromRawValue(row.kind);
        ASSERT_TRUE(kind) << row.kind;
        const RiskTier tierOfStray = ScanCore::riskTier(*kind, false, true, true);
        const RiskTier tier = WhatRuns::tierOf(tierOfStray, WhatRuns::foundIn(*kind, row.arguments));
        EXPECT_EQ(tier, row.verdict == "easy" ? RiskTier::easy : RiskTier::moderate)
            << joinedArguments(row.arguments);
        verdicts.insert(row.verdict);
    }
    EXPECT_EQ(verdicts, (std::set<std::string>{"easy", "lowered"}));
}

TEST(WhatRunsTable, readsTheSameOffJoinedTextWhereNoArgumentHoldsABlank) {
    size_t compared = 0;
    for (const WhatRunsRow& row : whatRunsTable()) {
        if (!holdBlanks(row.arguments)) {
            ++compared;
            const std::string line = joinedArguments(row.arguments);
            const auto kind = ProcessKinds::fromRawValue(row.kind);
            EXPECT_EQ(foundName(WhatRuns::foundInLine(*kind, line)), row.found) << line;
        }
    }
    EXPECT_GE(compared, 250U);
}

TEST(WhatRunsTable, findsTheSameBehindALauncher) {
    for (const WhatRunsRow& row : whatRunsTable()) {
        if (canBeTyped(row)) {
            std::vector<std::string> launched{"/usr/bin/nice", "-n", "5", "--"};
            launched.insert(launched.end(), row.arguments.begin(), row.arguments.end());
            const auto kind = ProcessKinds::fromRawValue(row.kind);
            EXPECT_EQ(foundName(WhatRuns::foundIn(*kind, launched)),
                      row.verdict == "easy" ? "launched" : "nowhere")
                << joinedArguments(launched);
        }
    }
}

TEST(WhatRunsTable, findsTheSameInAShellsText) {
    for (const WhatRunsRow& row : whatRunsTable()) {
        if (canBeTyped(row)) {
            const std::vector<std::string> shell{"/bin/sh", "-c", scriptOf(row.arguments)};
            const auto kind = ProcessKinds::fromRawValue(row.kind);
            EXPECT_EQ(foundName(WhatRuns::foundIn(*kind, shell)),
                      row.verdict == "easy" ? "launched" : "nowhere")
                << shell.back();
        }
    }
}
