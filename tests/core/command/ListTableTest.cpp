#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/command/CLICore.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::CLICore {

namespace {

/// A stray test runner, the plainest row of all.
ProcessItem vitest() {
    return {.pid = 200,
            .ppid = 1,
            .command = "node /home/dev/shop/node_modules/.bin/vitest run",
            .elapsed = 7620,
            .tty = "?",
            .kind = ProcessKind::vitest,
            .riskTier = RiskTier::easy,
            .rssKB = 812};
}

ProcessItem viteServer() {
    return {.pid = 31'415,
            .ppid = 1,
            .command = "node /home/dev/shop/node_modules/.bin/vite --port 5199",
            .elapsed = 273'600,
            .tty = "?",
            .kind = ProcessKind::vite,
            .riskTier = RiskTier::moderate,
            .rssKB = 157'000};
}

ProcessItem namedByTheUser(const std::string& label) {
    return {.pid = 7,
            .ppid = 1,
            .command = "ssh-agent",
            .elapsed = 42,
            .tty = "?",
            .kind = ProcessKind::custom,
            .riskTier = RiskTier::moderate,
            .rssKB = 1'572'864,
            .customLabel = label};
}

ProcessCwd project(const std::string& label) {
    return {.label = label, .fullPath = "~/" + label};
}

std::string table(const std::vector<ProcessItem>& items, const CwdResolver::CwdMap& cwds = {},
                  const ScanCore::PIDSet& protectedPIDs = {}, size_t commandMax = 100) {
    return listTable(
        {.items = items, .cwds = cwds, .protectedPIDs = protectedPIDs, .commandMax = commandMax});
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

TEST(ListTableTest, withoutItemsIsTheHeadingAlone) {
    EXPECT_EQ(table({}), "PID  BUCKET  KIND  AGE  RAM  PROJECT  COMMAND");
}

TEST(ListTableTest, showsOneLineForEachItemInTheOrderGiven) {
    const CwdResolver::CwdMap cwds = {{31'415, project("shop/web")}, {200, project("shop")}};
    EXPECT_EQ(
        table({viteServer(), vitest(), namedByTheUser("Keys")}, cwds),
        "PID    BUCKET  KIND    AGE    RAM     PROJECT   COMMAND\n"
        "31415  review  Vite    3d 4h  153 MB  shop/web  node /home/dev/shop/node_modules/.bin/vite --port "
        "5199\n"
        "200    safe    vitest  2h 7m  812 KB  shop      node /home/dev/shop/node_modules/.bin/vitest run\n"
        "7      review  Keys    42s    1.5 GB  —         ssh-agent");
}

TEST(ListTableTest, headingsAreAsWideAsTheyNeed) {
    ProcessItem item = vitest();
    item.pid = 2;
    item.elapsed = 5;
    item.rssKB = 1;
    item.kind = ProcessKind::npm;
    item.command = "npm";
    EXPECT_EQ(table({item}), "PID  BUCKET  KIND  AGE  RAM   PROJECT  COMMAND\n"
                             "2    safe    npm   5s   1 KB  —        npm");
}

TEST(ListTableTest, onlyTheEasiestAreSafe) {
    ProcessItem easy = namedByTheUser("a");
    easy.riskTier = RiskTier::easy;
    ProcessItem moderate = namedByTheUser("b");
    ProcessItem high = namedByTheUser("c");
    high.riskTier = RiskTier::high;
    EXPECT_EQ(table({easy, moderate, high}), "PID  BUCKET  KIND  AGE  RAM     PROJECT  COMMAND\n"
                                             "7    safe    a     42s  1.5 GB  —        ssh-agent\n"
                                             "7    review  b     42s  1.5 GB  —        ssh-agent\n"
                                             "7    review  c     42s  1.5 GB  —        ssh-agent");
}

TEST(ListTableTest, aLockMarksTheProtected) {
    EXPECT_EQ(
        table({vitest(), namedByTheUser("Keys")}, {{200, project("shop")}}, {200, 999}),
        "PID  BUCKET  KIND    AGE    RAM     PROJECT  COMMAND\n"
        "200  safe 🔒  vitest  2h 7m  812 KB  shop     node /home/dev/shop/node_modules/.bin/vitest run\n"
        "7    review  Keys    42s    1.5 GB  —        ssh-agent");
    EXPECT_EQ(
        table({vitest(), namedByTheUser("Keys")}, {{200, project("shop")}}, {7}),
        "PID  BUCKET    KIND    AGE    RAM     PROJECT  COMMAND\n"
        "200  safe      vitest  2h 7m  812 KB  shop     node /home/dev/shop/node_modules/.bin/vitest run\n"
        "7    review 🔒  Keys    42s    1.5 GB  —        ssh-agent");
}

TEST(ListTableTest, theUsersOwnLabelReplacesThatOfTheKind) {
    ProcessItem unlabelled = namedByTheUser("");
    unlabelled.customLabel.reset();
    EXPECT_EQ(table({namedByTheUser("My agents"), unlabelled}),
              "PID  BUCKET  KIND          AGE  RAM     PROJECT  COMMAND\n"
              "7    review  My agents     42s  1.5 GB  —        ssh-agent\n"
              "7    review  Custom rules  42s  1.5 GB  —        ssh-agent");
}

TEST(ListTableTest, cutsCommandsButNoOtherColumn) {
    EXPECT_EQ(table({vitest()}, {{200, project("a-project-with-a-long-name")}}, {}, 8),
              "PID  BUCKET  KIND    AGE    RAM     PROJECT                     COMMAND\n"
              "200  safe    vitest  2h 7m  812 KB  a-project-with-a-long-name  node /h…");
}

TEST(ListTableTest, aLimitBelowTwoCutsNoCommands) {
    for (const size_t commandMax : {0U, 1U}) {
        EXPECT_TRUE(table({vitest()}, {}, {}, commandMax).ends_with(vitest().command));
    }
}

TEST(ListTableTest, noLineEndsInBlanks) {
    ProcessItem nameless = vitest();
    nameless.command = "";
    ProcessItem blank = namedByTheUser("Keys");
    blank.command = "ssh-agent \t ";
    EXPECT_EQ(table({nameless, blank}, {{200, project("shop")}}),
              "PID  BUCKET  KIND    AGE    RAM     PROJECT  COMMAND\n"
              "200  safe    vitest  2h 7m  812 KB  shop\n"
              "7    review  Keys    42s    1.5 GB  —        ssh-agent");
}

TEST(ListTableTest, widthsCountWhatPeopleSeeAsCharacters) {
    const ProcessItem family = namedByTheUser("👨‍👩‍👧 app");
    const ProcessItem accented = namedByTheUser("cafe\u0301");
    ProcessItem plain = namedByTheUser("abcdef");
    plain.pid = 8;
    const CwdResolver::CwdMap cwds = {{7, project("re\u0301sume\u0301-👨‍👩‍👧")},
                                      {8, project("shop")}};
    EXPECT_EQ(table({family, accented, plain}, cwds),
              "PID  BUCKET  KIND    AGE  RAM     PROJECT   COMMAND\n"
              "7    review  👨‍👩‍👧 app   42s  1.5 GB  re\u0301sume\u0301-👨‍👩‍👧  "
              "ssh-agent\n"
              "7    review  cafe\u0301    42s  1.5 GB  re\u0301sume\u0301-👨‍👩‍👧  ssh-agent\n"
              "8    review  abcdef  42s  1.5 GB  shop      ssh-agent");
}

TEST(ListTableTest, commandsAreCutAtWholeCharacters) {
    ProcessItem item = namedByTheUser("Keys");
    item.command = "/srv/👨‍👩‍👧/e\u0301te\u0301";
    const auto commandAt = [&item](size_t max) {
        const std::string lines = table({item}, {}, {}, max);
        return lines.substr(lines.find("—        ") + std::string("—        ").size());
    };
    EXPECT_EQ(commandAt(10), "/srv/👨‍👩‍👧/e\u0301te\u0301");
    EXPECT_EQ(commandAt(9), "/srv/👨‍👩‍👧/e\u0301…");
    EXPECT_EQ(commandAt(8), "/srv/👨‍👩‍👧/…");
    EXPECT_EQ(commandAt(7), "/srv/👨‍👩‍👧…");
    EXPECT_EQ(commandAt(6), "/srv/…");
}

TEST(ListTableTest, fillsATerminalToItsLastColumn) {
    const std::vector items = {vitest(), viteServer()};
    const CwdResolver::CwdMap cwds = {{200, project("shop")}};
    const ScanCore::PIDSet nobody;
    const TableOptions options{.items = items, .cwds = cwds, .protectedPIDs = nobody};
    for (const size_t columns : {80U, 90U, 100U}) {
        SCOPED_TRACE(columns);
        const auto lines = linesOf(table(items, cwds, {}, columnsForCommands(columns, options)));
        EXPECT_EQ(UnicodeText::terminalColumns(lines.at(2)), columns);
        EXPECT_LE(UnicodeText::terminalColumns(lines.at(1)), columns);
    }
}

TEST(ListTableTest, fitsATerminalWhereCharactersTakeTwoColumns) {
    ProcessItem item = viteServer();
    item.customLabel = "家族の店";
    const std::vector items = {vitest(), item};
    const CwdResolver::CwdMap cwds = {{200, project("東京")}, {31'415, project("日本語の店")}};
    const ScanCore::PIDSet locked = {200, 31'415};
    const TableOptions options{.items = items, .cwds = cwds, .protectedPIDs = locked};
    for (const std::string& line : linesOf(table(items, cwds, locked, columnsForCommands(100, options)))) {
        EXPECT_LE(UnicodeText::terminalColumns(line), 100U) << line;
    }
}

TEST(ListTableTest, aLongProjectIsCutInItsMiddleOnATerminal) {
    const std::vector items = {vitest(), viteServer()};
    const CwdResolver::CwdMap cwds = {
        {200, project("shop")},
        {31'415, project("packages-of-the-" + std::string(200, 'x') + "/storefront")}};
    const ScanCore::PIDSet nobody;
    TableOptions options{.items = items, .cwds = cwds, .protectedPIDs = nobody};
    for (const size_t columns : {72U, 80U, 120U}) {
        SCOPED_TRACE(columns);
        options.projectColumns = columnsForProjects(columns, options);
        options.commandColumns = columnsForCommands(columns, options);
        EXPECT_EQ(options.commandColumns, 20U);
        const auto lines = linesOf(listTable(options));
        EXPECT_EQ(UnicodeText::terminalColumns(lines.at(2)), columns);
        EXPECT_TRUE(lines.at(2).contains(" packa")) << lines.at(2);
        EXPECT_TRUE(lines.at(2).contains("…")) << lines.at(2);
        EXPECT_TRUE(lines.at(2).contains("front  node /")) << lines.at(2);
        EXPECT_TRUE(lines.at(1).contains(" shop ")) << lines.at(1);
    }
}

TEST(ListTableTest, aProjectIsCutAtWholeCharactersAndByColumns) {
    const std::vector items = {vitest()};
    const ScanCore::PIDSet nobody;
    const auto shown = [&](const std::string& label, size_t columns) {
        const CwdResolver::CwdMap cwds = {{200, project(label)}};
        const std::string line =
            linesOf(
                listTable({.items = items, .cwds = cwds, .protectedPIDs = nobody, .projectColumns = columns}))
                .at(1);
        const size_t start = line.find("812 KB  ") + std::string("812 KB  ").size();
        return line.substr(start, line.find(' ', start) - start);
    };
    EXPECT_EQ(shown("0123456789", 0), "0123456789");
    EXPECT_EQ(shown("0123456789", 10), "0123456789");
    EXPECT_EQ(shown("0123456789", 9), "0123…6789");
    EXPECT_EQ(shown("0123456789", 8), "0123…789");
    EXPECT_EQ(shown("0123456789", 1), "…");
    EXPECT_EQ(shown("漢字漢字漢字", 12), "漢字漢字漢字");
    EXPECT_EQ(shown("漢字漢字漢字", 11), "漢字漢…漢字");
    EXPECT_EQ(shown("漢字漢字漢字", 10), "漢字…漢字");
    EXPECT_EQ(shown("e\u0301te\u0301te\u0301", 4), "e\u0301t…e\u0301");
}

TEST(ListTableTest, aProjectThatFitsIsNotCut) {
    const std::vector items = {vitest()};
    const CwdResolver::CwdMap cwds = {{200, project("a-project-of-26-characters")}};
    const ScanCore::PIDSet nobody;
    TableOptions options{.items = items, .cwds = cwds, .protectedPIDs = nobody};
    constexpr size_t beside = 5 + 8 + 8 + 7 + 8 + 2; // PID, BUCKET, KIND, AGE, RAM and the last gap
    options.projectColumns = columnsForProjects(beside + 26 + 20, options);
    EXPECT_TRUE(listTable(options).contains("  a-project-of-26-characters  "));
    options.projectColumns = columnsForProjects(beside + 25 + 20, options);
    EXPECT_TRUE(listTable(options).contains("  a-project-of…6-characters  ")) << listTable(options);
    for (const size_t columns : {0U, 1U, 20U, 40U}) {
        EXPECT_EQ(columnsForProjects(columns, options), 12U);
    }
}

TEST(ListTableTest, aWideCommandIsCutByColumnsAndShortensNoOther) {
    ProcessItem wide = viteServer();
    wide.command = "vite ";
    for (int count = 0; count < 60; ++count) {
        wide.command += "漢";
    }
    ProcessItem plain = vitest();
    plain.command = std::string(60, 'x');
    const std::vector items = {plain, wide};
    const CwdResolver::CwdMap cwds;
    const ScanCore::PIDSet nobody;
    TableOptions options{.items = items, .cwds = cwds, .protectedPIDs = nobody};
    options.commandColumns = 40;
    const auto lines = linesOf(listTable(options));
    EXPECT_TRUE(lines.at(1).ends_with("  " + std::string(39, 'x') + "…")) << lines.at(1);
    EXPECT_TRUE(lines.at(2).ends_with("vite 漢漢漢漢漢漢漢漢漢漢漢漢漢漢漢漢漢…")) << lines.at(2);
}

TEST(ListTableTest, nothingSteersTheTerminal) {
    ProcessItem item = namedByTheUser("\x1B[31mKeys");
    item.command = "node \u202Eevil\nline";
    const auto lines = linesOf(table({item}, {{item.pid, project("a\tb\x9B")}}, {}, 0));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines.at(1).contains("?[31mKeys")) << lines.at(1);
    EXPECT_TRUE(lines.at(1).contains("  a b?  ")) << lines.at(1);
    EXPECT_TRUE(lines.at(1).ends_with("  node ?evil line")) << lines.at(1);
}

TEST(ListTableTest, showsTwentyCharactersOfACommandInTheNarrowestTerminal) {
    const std::vector items = {vitest()};
    const CwdResolver::CwdMap cwds;
    const ScanCore::PIDSet nobody;
    const TableOptions options{.items = items, .cwds = cwds, .protectedPIDs = nobody};
    for (const size_t columns : {0U, 1U, 20U, 40U}) {
        SCOPED_TRACE(columns);
        EXPECT_EQ(columnsForCommands(columns, options), 20U);
    }
}

} // namespace VintrelCore::CLICore
