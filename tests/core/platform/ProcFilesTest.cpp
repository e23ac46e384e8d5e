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
    EXPECT_EQ(stat->parent, 1);
    EXPECT_EQ(stat->terminal, 0U);
    EXPECT_EQ(stat->residentPages, 250);
    EXPECT_TRUE(stat->hasMemory);
    const auto kernels =
        ProcFiles::parseStat("2 (kthreadd) S 0 0 0 0 -1 2129984 0 0 0 0 0 3 0 0 20 0 1 0 1 0 0 1\n");
    EXPECT_TRUE(kernels && !kernels->hasMemory);
}

TEST(ParseStat, readsTheDeviceOfATerminalWhateverItsSign) {
    const auto terminalOf = [](const std::string& field) {
        const auto stat = ProcFiles::parseStat("9 (sh) S 1 9 9 " + field +
                                               " 9 0 0 0 0 0 7 3 0 0 20 0 1 0 4200 1000 250 1\n");
        return stat ? std::optional(stat->terminal) : std::nullopt;
    };
    EXPECT_EQ(terminalOf("34817"), 34817U);
    EXPECT_EQ(terminalOf("-2147448831"), 0x80008801U) << "the kernel prints it as a signed number";
}

TEST(ParseName, takesAllBetweenTheParentheses) {
    EXPECT_EQ(ProcFiles::parseName(statOf("node")), "node");
    EXPECT_EQ(ProcFiles::parseName(statOf("a) S 1 (b c")), "a) S 1 (b c");
    EXPECT_EQ(ProcFiles::parseName(statOf("")), "");
    EXPECT_EQ(ProcFiles::parseName("12 (nod"), std::nullopt);
    EXPECT_EQ(ProcFiles::parseName(") ("), std::nullopt);
    EXPECT_EQ(ProcFiles::parseName(""), std::nullopt);
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

TEST(ParseIsInInnerNamespace, isOneThatHasSeveralNumbers) {
    EXPECT_TRUE(ProcFiles::parseIsInInnerNamespace("Name:\tsh\nNSpid:\t4242\t17\nNSpgid:\t1\n"));
    EXPECT_TRUE(ProcFiles::parseIsInInnerNamespace("NSpid:\t4242\t17\t1\n"));
    EXPECT_FALSE(ProcFiles::parseIsInInnerNamespace("NSpid:\t4242\nNSpgid:\t1\t2\n"));
    EXPECT_FALSE(ProcFiles::parseIsInInnerNamespace("Name:\tNSpid:\t1\t2\n"));
    EXPECT_FALSE(ProcFiles::parseIsInInnerNamespace(""));
}

TEST(ParseMounts, findsPointAndTypeOfEach) {
    using Mounts = std::vector<ProcFiles::Mount>;
    EXPECT_EQ(
        ProcFiles::parseMounts("36 35 98:0 / / rw,noatime - ext4 /dev/root rw\n"
                               "37 36 0:40 /x /mnt/data rw shared:1 master:2 - nfs4 server:/x rw,vers=4\n"
                               "38 36 0:41 / /run/user/1000/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse rw\n"),
        (Mounts{{.point = "/", .type = "ext4"},
                {.point = "/mnt/data", .type = "nfs4"},
                {.point = "/run/user/1000/gvfs", .type = "fuse.gvfsd-fuse"}}));
    EXPECT_EQ(ProcFiles::parseMounts("1 2 3:4 / /my\\040files\\134x\\011 rw - cifs //server/x rw\n"),
              (Mounts{{.point = "/my files\\x\t", .type = "cifs"}}));
    EXPECT_EQ(ProcFiles::parseMounts("1 2 3:4 / /a\\ rw - nfs x rw\n"),
              (Mounts{{.point = "/a\\", .type = "nfs"}}));
    EXPECT_EQ(ProcFiles::parseMounts("\n1 2 3:4 / /x rw shared:1\n1 2 3:4 / relative rw - nfs x rw\n-\n"),
              Mounts{});
}

TEST(AsksOthers, isTrueOfNetworksAndOfPrograms) {
    for (const char* type : {"nfs", "nfs4", "cifs", "fuse", "fuse.sshfs", "fuseblk", "9p", "autofs"}) {
        EXPECT_TRUE(ProcFiles::asksOthers(type)) << type;
    }
    for (const char* type :
         {"ext4", "btrfs", "tmpfs", "overlay", "proc", "nfsd", "fusectl", "rpc_pipefs", ""}) {
        EXPECT_FALSE(ProcFiles::asksOthers(type)) << type;
    }
}
