#include "VintrelCore/platform/ProcFiles.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;

namespace {

/// A stat record as the kernel writes it, with any name; session 77, started 4200 ticks after boot.
std::string statOf(const std::string& name) {
    return "123 (" + name +
           ") S 1 55 77 0 -1 4194304 100 0 0 0 7 3 0 0 20 0 1 0 4200 1000000 250 1844674407 1 1\n";
}

} // namespace

TEST(ParseStat, findsStateSessionAndStart) {
    const auto stat = ProcFiles::parseStat(statOf("node"));
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->processGroupID, 55);
    EXPECT_EQ(stat->sessionID, 77);
    EXPECT_EQ(stat->startTicks, 4200U);
    EXPECT_EQ(stat->usedTicks, 10U) << "7 of its own, 3 of the kernel's";
}

TEST(ParseStat, isNotFooledByHostileNames) {
    for (const char* name : {"a) S 1 (b c", "x) Z 9 9 9 9", "two\nlines", "))))", "", "\xFF\xFE", " "}) {
        const auto stat = ProcFiles::parseStat(statOf(name));
        ASSERT_TRUE(stat) << name;
        EXPECT_EQ(stat->state, 'S') << name;
        EXPECT_EQ(stat->startTicks, 4200U) << name;
    }
}

TEST(ParseStat, givesNothingForWhatIsCutOffOrMalformed) {
    const std::string whole = statOf("node");
    const size_t startField = whole.find("4200");
    for (size_t length = 0; length < startField; ++length) {
        EXPECT_FALSE(ProcFiles::parseStat(whole.substr(0, length))) << length;
    }
    EXPECT_FALSE(ProcFiles::parseStat("123 (node) Sleeping 1 2 3"));
    EXPECT_FALSE(
        ProcFiles::parseStat("123 (node) S 1 x 77 0 -1 4194304 100 0 0 0 7 3 0 0 20 0 1 0 4200 1\n"));
}

TEST(ParseArguments, keepsEachAsItIs) {
    using Arguments = std::vector<std::string>;
    using namespace std::string_literals;
    EXPECT_EQ(ProcFiles::parseArguments("node\0my server.js\0\0--x\n\0"s),
              (Arguments{"node", "my server.js", "", "--x\n"}));
    EXPECT_EQ(ProcFiles::parseArguments("node (vitest)\0\0\0"s), (Arguments{"node (vitest)", "", ""}))
        << "a title and what it left";
    EXPECT_EQ(ProcFiles::parseArguments("a title"), Arguments{"a title"}) << "over all there was";
    EXPECT_EQ(ProcFiles::parseArguments(""), Arguments{}) << "a process of the kernel's own";
}

TEST(ParseUserID, takesTheRealOne) {
    EXPECT_EQ(ProcFiles::parseUserID("Name:\tnode\nUid:\t1000\t0\t0\t0\nGid:\t5\t5\t5\t5\n"), 1000);
    EXPECT_EQ(ProcFiles::parseUserID("Name:\tUid:\t7\nGid:\t5\n"), std::nullopt);
    EXPECT_EQ(ProcFiles::parseUserID(""), std::nullopt);
}

TEST(ParseUnitProcess, isAWholeVariable) {
    using namespace std::string_literals;
    const std::string environment = "A=1\0XSYSTEMD_EXEC_PID=5\0SYSTEMD_EXEC_PID=4242\0B=2\0"s;
    EXPECT_EQ(ProcFiles::parseUnitProcess(environment), 4242);
    EXPECT_EQ(ProcFiles::parseUnitProcess("A=SYSTEMD_EXEC_PID=5\0"s), std::nullopt);
    EXPECT_EQ(ProcFiles::parseUnitProcess("SYSTEMD_EXEC_PID=\0"s), std::nullopt);
    EXPECT_EQ(ProcFiles::parseUnitProcess("SYSTEMD_EXEC_PID=5x\0"s), std::nullopt);
    EXPECT_EQ(ProcFiles::parseUnitProcess(""), std::nullopt);
}

TEST(ParseControlGroup, prefersTheHierarchyOfSystemd) {
    EXPECT_EQ(ProcFiles::parseControlGroup("9:name=systemd:/a.service\n0::/b.scope\n"), "/a.service");
    EXPECT_EQ(ProcFiles::parseControlGroup("0::/b.scope\n9:name=systemd:/a.service\n"), "/a.service");
    EXPECT_EQ(ProcFiles::parseControlGroup("3:cpu:/x\n0::/user.slice/b.scope\n"), "/user.slice/b.scope");
}

TEST(ParseControlGroup, copesWithOddPaths) {
    EXPECT_EQ(ProcFiles::parseControlGroup("0::/app.slice/x.scope (deleted)\n"), "/app.slice/x.scope");
    EXPECT_EQ(ProcFiles::parseControlGroup("0::/a:b::c\n"), "/a:b::c");
    EXPECT_EQ(ProcFiles::parseControlGroup("0::/\n"), "/");
    EXPECT_EQ(ProcFiles::parseControlGroup("4:memory:/x\n"), "");
    EXPECT_EQ(ProcFiles::parseControlGroup("garbage\n\n:"), "");
}

TEST(ParseIsNamespacesFirst, isOneWhoseLastNumberOfSeveralIsOne) {
    const auto isFirst = [](const std::string& numbers) {
        return ProcFiles::parseIsNamespacesFirst("Name:\tsh\nNStgid:\t9\t1\nNSpid:" + numbers +
                                                 "\nNSpgid:\t1\n");
    };
    EXPECT_TRUE(isFirst("\t4242\t1"));
    EXPECT_TRUE(isFirst("\t4242\t17\t1"));
    EXPECT_FALSE(isFirst("\t4242\t17"));
    EXPECT_FALSE(isFirst("\t4242\t1\t17"));
    EXPECT_FALSE(isFirst("\t1")) << "process 1 of the namespace that reads";
    EXPECT_FALSE(isFirst(""));
    EXPECT_FALSE(ProcFiles::parseIsNamespacesFirst("Name:\tsh\n"));
}
