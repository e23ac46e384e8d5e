#include "VintrelCore/scan/IgnoreRule.h"

#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/PipelineItems.h"
#include "tests/support/ScopedEnvironment.h"

#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore {

using ScanCore::applyScopedIgnores;
using VintrelTests::candidate;
using VintrelTests::pidsOf;
using VintrelTests::ScopedEnvironment;

namespace {

/// Whether the rule hides a process with this command that works in this folder, or in an unknown one.
bool hides(const IgnoreRule& rule, const std::string& command, const std::optional<std::string>& folder) {
    CwdResolver::CwdMap cwds;
    if (folder) {
        cwds[7] = {.label = "label", .fullPath = *folder};
    }
    const std::vector rules = {rule};
    return applyScopedIgnores({candidate(7, 1, command)}, cwds, rules).empty();
}

bool hidesAnywhere(const std::string& substring, const std::string& command) {
    return hides({.substring = substring}, command, std::nullopt);
}

} // namespace

TEST(IgnoreRuleTest, parsesOneLine) {
    struct Case {
        std::string line;
        IgnoreRule rule;
    };

    const std::vector<Case> cases = {
        {"node", {"node"}},
        {"  node server.js\t", {"node server.js"}},
        {"node @ ~/work/", {"node", "~/work/"}},
        {"  node  @  ~/work  ", {"node", "~/work"}},
        {"node @ ~/My Projects/Shop", {"node", "~/My Projects/Shop"}},
        {"vite @ /srv/a @ b", {"vite", "/srv/a @ b"}},
        {"foo@bar", {"foo@bar"}},
        {"foo @bar", {"foo @bar"}},
        {"foo@ bar", {"foo@ bar"}},
        {"foo\t@\tbar", {"foo\t@\tbar"}},
        {"npx @playwright/mcp", {"npx @playwright/mcp"}},
        {"npx @playwright/mcp @ ~/shop", {"npx @playwright/mcp", "~/shop"}},
        {"@ ~/work", {"@ ~/work"}},
        {"node @", {"node @"}},
        {"Straße @ ~/Büro", {"Straße", "~/Büro"}},
    };
    for (const auto& [line, rule] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(IgnoreRule::parse(line), rule);
    }
}

TEST(IgnoreRuleTest, noSubstringMakesNoRule) {
    for (const std::string line : {"", "   ", "\t\r\n", " @ ~/work", "   @ ~/work", "\t @ ~/work", " @ "}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(IgnoreRule::parse(line), std::nullopt);
    }
}

TEST(IgnoreRuleTest, aSeparatorWithNothingBehindItMakesAnUnscopedRule) {
    EXPECT_EQ(IgnoreRule::parse("node @ "), IgnoreRule{"node"});
    EXPECT_EQ(IgnoreRule::parse("node @   \t"), IgnoreRule{"node"});
}

TEST(IgnoreRuleTest, writesTheSubstringAndThePathIfThereIsOne) {
    EXPECT_EQ(IgnoreRule::serialize({"node server.js"}), "node server.js");
    EXPECT_EQ(IgnoreRule::serialize({"node", "~/work/"}), "node @ ~/work/");
}

TEST(IgnoreRuleTest, whatItWritesReadsBackTheSame) {
    const std::vector<IgnoreRule> rules = {
        {"node"}, {"a@b"}, {"vite", "~/work"}, {"vite", "/srv/a @ b"}, {"Straße", "~/Büro/"}};
    for (const IgnoreRule& rule : rules) {
        SCOPED_TRACE(rule.substring);
        EXPECT_EQ(IgnoreRule::parse(IgnoreRule::serialize(rule)), rule);
    }
}

TEST(ScopedIgnoresTest, anUnscopedRuleHidesItsProcessesWhereverTheyWork) {
    const IgnoreRule rule{"vite"};
    EXPECT_TRUE(hides(rule, "node .bin/vite", "~/work"));
    EXPECT_TRUE(hides(rule, "node .bin/vite", std::nullopt));
    EXPECT_FALSE(hides(rule, "node server.js", "~/work"));
}

TEST(ScopedIgnoresTest, aScopedRuleHidesOnlyWhatWorksInItsFolder) {
    for (const std::string path : {"~/work", "~/work/"}) {
        SCOPED_TRACE(path);
        const IgnoreRule rule{"node", path};
        EXPECT_TRUE(hides(rule, "node server.js", "~/work"));
        EXPECT_TRUE(hides(rule, "node server.js", "~/work/api"));
        EXPECT_TRUE(hides(rule, "node server.js", "~/work/api/v2"));
        EXPECT_FALSE(hides(rule, "node server.js", "~/workshop")) << "a sibling whose name begins alike";
        EXPECT_FALSE(hides(rule, "node server.js", "~"));
        EXPECT_FALSE(hides(rule, "node server.js", "/srv/~/work"));
        EXPECT_FALSE(hides(rule, "deno server.js", "~/work")) << "the command must match, too";
    }
}

TEST(ScopedIgnoresTest, aScopedRuleNeverHidesWhatWorksInAnUnknownFolder) {
    EXPECT_FALSE(hides({"node", "~/work"}, "node server.js", std::nullopt));
    EXPECT_FALSE(hides({"node", "/"}, "node server.js", std::nullopt));
}

TEST(ScopedIgnoresTest, comparesPathsAsTextOnly) {
    EXPECT_FALSE(hides({"node", "/home/dev/work"}, "node a.js", "~/work")) << "the tilde is not expanded";
    EXPECT_FALSE(hides({"node", "~/Work"}, "node a.js", "~/work")) << "case counts";
    EXPECT_FALSE(hides({"node", "~/jobs/../jobs"}, "node a.js", "~/jobs"));
    EXPECT_FALSE(hides({"node", "~/work//"}, "node a.js", "~/work")) << "only one slash is taken off";
    EXPECT_TRUE(hides({"node", "~"}, "node a.js", "~/work"));
    EXPECT_TRUE(hides({"node", "/srv/my app"}, "node a.js", "/srv/my app/web"));
}

TEST(ScopedIgnoresTest, theRootAsAPathTakesInEveryAbsoluteFolder) {
    const IgnoreRule rule{"node", "/"};
    EXPECT_TRUE(hides(rule, "node a.js", "/srv/app"));
    EXPECT_TRUE(hides(rule, "node a.js", "/"));
    EXPECT_FALSE(hides(rule, "node a.js", "~/work")) << "below home, paths begin with a tilde";
}

TEST(ScopedIgnoresTest, keepsTheOrderOfTheRest) {
    const std::vector items = {candidate(5, 1, "vite"), candidate(3, 1, "jest"), candidate(4, 1, "vite"),
                               candidate(1, 1, "node")};
    const CwdResolver::CwdMap cwds = {{5, {.label = "a", .fullPath = "~/a"}},
                                      {4, {.label = "b", .fullPath = "~/b"}}};
    const std::vector<IgnoreRule> rules = {{"vite", "~/a"}, {"pytest"}};
    EXPECT_EQ(pidsOf(applyScopedIgnores(items, cwds, rules)), (std::vector{3, 4, 1}));
}

TEST(ScopedIgnoresTest, oneMatchingRuleIsEnough) {
    const std::vector items = {candidate(1, 1, "vite"), candidate(2, 1, "jest"), candidate(3, 1, "node")};
    const std::vector<IgnoreRule> rules = {{"pytest"}, {"jest"}, {"vite"}};
    EXPECT_EQ(pidsOf(applyScopedIgnores(items, {}, rules)), std::vector{3});
}

TEST(ScopedIgnoresTest, withoutRulesEverythingStaysUnchanged) {
    const std::vector items = {candidate(1, 1, "vite"), candidate(2, 1, "jest")};
    EXPECT_EQ(applyScopedIgnores(items, {}, {}), items);
}

TEST(ScopedIgnoresTest, aRuleWithAnEmptySubstringHidesNothing) {
    EXPECT_FALSE(hidesAnywhere("", "node server.js"));
}

TEST(ScopedIgnoresTest, disregardsCaseInEveryScript) {
    EXPECT_TRUE(hidesAnywhere("NODE Server", "node server.js"));
    EXPECT_TRUE(hidesAnywhere("STRASSE", "node /srv/straße/app.js"));
    EXPECT_TRUE(hidesAnywhere("straße", "node /srv/STRASSE/app.js"));
    EXPECT_TRUE(hidesAnywhere("ΟΔΟΣ", "node /srv/οδος/app.js"));
    EXPECT_TRUE(hidesAnywhere("проект", "node /srv/ПРОЕКТ/app.js"));
    EXPECT_TRUE(hidesAnywhere("ВИТЕ", "/srv/вите --watch"));
}

TEST(ScopedIgnoresTest, takesALetterOnlyTogetherWithItsAccents) {
    const std::string composed = "/srv/\u00E9t\u00E9";
    const std::string decomposed = "/srv/e\u0301te\u0301";
    EXPECT_FALSE(hidesAnywhere("e", composed));
    EXPECT_FALSE(hidesAnywhere("e", decomposed));
    EXPECT_TRUE(hidesAnywhere("\u00C9T\u00C9", composed));
    EXPECT_TRUE(hidesAnywhere("\u00C9T\u00C9", decomposed));
    EXPECT_TRUE(hidesAnywhere("E\u0301t", composed));
}

TEST(ScopedIgnoresDeathTest, tellsTheTurkishLettersApartWhereTheUserIsTurkish) {
    // The locale is read once in the life of a process, so each locale gets a process of its own.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto report = [] {
        std::cerr << (hidesAnywhere("VITE", "vite") ? "plain " : "")
                  << (hidesAnywhere("VİTE", "vite") ? "dotted" : "");
        std::exit(0);
    };
    {
        const ScopedEnvironment turkish("LC_ALL", "tr_TR.UTF-8");
        EXPECT_EXIT(report(), ::testing::ExitedWithCode(0), "^dotted$");
    }
    const ScopedEnvironment english("LC_ALL", "en_US.UTF-8");
    EXPECT_EXIT(report(), ::testing::ExitedWithCode(0), "^plain $");
}

} // namespace VintrelCore
