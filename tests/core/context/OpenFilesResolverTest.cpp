#include "VintrelCore/context/OpenFilesResolver.h"

#include "tests/core/context/Printing.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::OpenFilesResolver {

namespace {

using Files = std::vector<OpenFile>;

/// A process's record of an open file, as lsof prints it.
std::string record(const std::string& descriptor, const std::string& type, const std::string& name) {
    return "f" + descriptor + "\nt" + type + "\nn" + name + "\n";
}

/// `count` regular files, each with a name of its own.
std::string manyFiles(size_t count) {
    std::string output = "p42\n";
    for (size_t index = 0; index < count; ++index) {
        output += record(std::to_string(index + 3), "REG", "/srv/" + std::to_string(index));
    }
    return output;
}

/// What becomes of the name of a regular file.
std::string shown(const std::string& name, const std::optional<std::string>& home = std::nullopt) {
    const OpenFileList list = openFiles(42, "p42\n" + record("3", "REG", name), home);
    return list.files.size() == 1 ? list.files.front().name : "(no entry)";
}

const std::string session =
    "p42\nfcwd\ntDIR\nn/Users/a/src\nftxt\ntREG\nn/usr/bin/node\nf3\ntREG\nn/Users/a/src/db.sqlite\n"
    "f4\ntIPv4\nnlocalhost:5173\nf5\ntREG\nn/Users/a/src/db.sqlite\n";

} // namespace

TEST(OpenFilesResolverTest, readsFilesAndSocketsFromTheFieldFormatOfLsof) {
    EXPECT_EQ(parseOpenFiles(session), (Files{{"/Users/a/src/db.sqlite", false}, {"localhost:5173", true}}));
}

TEST(OpenFilesResolverTest, anyOrderOfFieldsAndAnyLayoutOfLinesWillDo) {
    struct Case {
        std::string why;
        std::string output;
        Files files;
    };

    const std::vector<Case> cases = {
        {"no output", "", {}},
        {"nothing but the process", "p42\n", {}},
        {"no line feed at the end", "p42\nf3\ntREG\nn/a", {{"/a", false}}},
        {"empty lines", "\n\np42\n\nf3\n\ntREG\n\n\nn/a\n\n", {{"/a", false}}},
        {"the name before the type", "p42\nf3\nn/a\ntREG\nf4\nn/b\ntREG\n", {{"/a", false}, {"/b", false}}},
        {"no process line", "f3\ntREG\nn/a\n", {{"/a", false}}},
        {"fields that nobody asked for", "p42\ncnode\nf3\nau\nlW\ntREG\nD0x1\nn/a\nTST=X\n", {{"/a", false}}},
        {"a process line ends no record", "f3\np42\ntREG\nn/a\n", {{"/a", false}}},
        {"the last of two names counts", "p42\nf3\ntREG\nn/a\nn/b\n", {{"/b", false}}},
        {"the last of two types counts", "p42\nf3\ntCHR\ntREG\nn/a\n", {{"/a", false}}},
        {"so it does against a file", "p42\nf3\ntREG\ntCHR\nn/a\n", {}},
        {"fields before the first descriptor", "p42\ntREG\nn/lost\nf3\ntREG\nn/a\n", {{"/a", false}}},
        {"a record takes nothing from the one before", "p42\nf3\ntREG\nn/a\nf4\nn/b\n", {{"/a", false}}},
        {"nor a name", "p42\nf3\ntREG\nn/a\nf4\ntREG\n", {{"/a", false}}},
        {"several processes", "p42\nf3\ntREG\nn/a\np43\nf3\ntREG\nn/b\n", {{"/a", false}, {"/b", false}}},
    };
    for (const auto& [why, output, files] : cases) {
        SCOPED_TRACE(why);
        EXPECT_EQ(parseOpenFiles(output), files);
    }
}

TEST(OpenFilesResolverTest, onlyNumberedDescriptorsCount) {
    for (const std::string descriptor :
         {"cwd", "rtd", "txt", "mem", "DEL", "err", "NOFD", "", "x3", "3x", "0x3", "3 4"}) {
        SCOPED_TRACE(descriptor);
        EXPECT_EQ(parseOpenFiles(record(descriptor, "REG", "/left/out") + record("7", "REG", "/kept")),
                  (Files{{"/kept", false}}));
    }
    for (const std::string descriptor : {"0", "1", "2", "10", "255", "4095", "1048576"}) {
        SCOPED_TRACE(descriptor);
        EXPECT_EQ(parseOpenFiles(record(descriptor, "REG", "/kept")), (Files{{"/kept", false}}));
    }
}

TEST(OpenFilesResolverTest, onlyRegularFilesAndSocketsCount) {
    EXPECT_EQ(parseOpenFiles(record("3", "REG", "/a")), (Files{{"/a", false}}));
    for (const std::string type : {"IPv4", "IPv6", "unix"}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(parseOpenFiles(record("3", type, "*:80")), (Files{{"*:80", true}}));
    }
    for (const std::string type : {"PIPE", "FIFO", "CHR", "BLK", "DIR", "LINK", "a_inode", "sock", "netlink",
                                   "KQUEUE", "unknown", "", "reg", "ipv4", "IPv", "UNIX", "REGULAR"}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(parseOpenFiles(record("7", type, "/left/out")), Files{});
    }
    EXPECT_EQ(parseOpenFiles("f3\nn/left/out\n"), Files{}) << "no type at all";
}

TEST(OpenFilesResolverTest, aFileWithoutANameIsLeftOut) {
    EXPECT_EQ(parseOpenFiles("f3\ntREG\nn\nf4\ntREG\nf5\ntunix\nn\nf6\ntREG\nn/kept\n"),
              (Files{{"/kept", false}}));
}

TEST(OpenFilesResolverTest, aNameShowsOnceWhereItCameFirst) {
    EXPECT_EQ(parseOpenFiles(record("3", "REG", "/a") + record("4", "REG", "/b") + record("5", "REG", "/a") +
                             record("6", "REG", "/c") + record("7", "REG", "/b")),
              (Files{{"/a", false}, {"/b", false}, {"/c", false}}));
    EXPECT_EQ(parseOpenFiles(record("3", "IPv4", "*:80") + record("4", "IPv6", "*:80")),
              (Files{{"*:80", true}}));
    EXPECT_EQ(parseOpenFiles(record("3", "unix", "/run/x") + record("4", "REG", "/run/x")),
              (Files{{"/run/x", true}}));
    EXPECT_EQ(parseOpenFiles(record("3", "REG", "/run/x") + record("4", "unix", "/run/x")),
              (Files{{"/run/x", false}}));
    EXPECT_EQ(parseOpenFiles(record("3", "REG", "/a") + record("4", "REG", "/A")),
              (Files{{"/a", false}, {"/A", false}}));
}

TEST(OpenFilesResolverTest, whatIsLeftOutTakesNoName) {
    EXPECT_EQ(
        parseOpenFiles(record("txt", "REG", "/a") + record("2", "CHR", "/a") + record("3", "REG", "/a")),
        (Files{{"/a", false}}));
}

TEST(OpenFilesResolverTest, keepsTheOrderOfLsof) {
    EXPECT_EQ(
        parseOpenFiles(record("9", "REG", "/z") + record("3", "IPv4", "*:1") + record("4", "REG", "/a")),
        (Files{{"/z", false}, {"*:1", true}, {"/a", false}}));
}

TEST(OpenFilesResolverTest, showsNamesAsTheyAre) {
    EXPECT_EQ(shown("/srv/Meine Läden/店"), "/srv/Meine Läden/店");
    EXPECT_EQ(shown("/srv/a (deleted)"), "/srv/a (deleted)");
    EXPECT_EQ(shown(" "), " ");
    EXPECT_EQ(shown(R"(/x/back\\slash)"), R"(/x/back\slash)");
    EXPECT_EQ(shown(R"(/x/a\nb\tc)"), "/x/a\nb\tc");
    EXPECT_EQ(shown(R"(/x/L\xc3\xa4den)"), "/x/Läden");
    EXPECT_EQ(shown(R"(/x/\\n)"), R"(/x/\n)") << "a backslash, not a line feed";
    EXPECT_EQ(shown(R"(/x/\\\n)"), "/x/\\\n");
}

TEST(OpenFilesResolverTest, socketsStandAsLsofDescribesThem) {
    EXPECT_EQ(openFiles(42, record("3", "unix", R"(/run/my\\socket type=STREAM)")).files,
              (Files{{R"(/run/my\\socket type=STREAM)", true}}));
}

TEST(OpenFilesResolverTest, homeIsAbbreviatedInFilesButNotInSockets) {
    EXPECT_EQ(openFiles(42, session, "/Users/a"),
              (OpenFileList{{{"~/src/db.sqlite", false}, {"localhost:5173", true}}, 0}));
    EXPECT_EQ(
        openFiles(42, record("3", "unix", "/Users/a/x.sock") + record("4", "REG", "/Users/a/x"), "/Users/a"),
        (OpenFileList{{{"/Users/a/x.sock", true}, {"~/x", false}}, 0}));
}

TEST(OpenFilesResolverTest, homeIsAbbreviatedOnlyAsAWholeComponent) {
    EXPECT_EQ(shown("/Users/a", "/Users/a"), "~");
    EXPECT_EQ(shown("/Users/a/x", "/Users/a"), "~/x");
    EXPECT_EQ(shown("/Users/ab", "/Users/a"), "/Users/ab");
    EXPECT_EQ(shown("/mnt/Users/a/x", "/Users/a"), "/mnt/Users/a/x");
    EXPECT_EQ(shown(R"(/Users/L\xc3\xa4/x)", "/Users/Lä"), "~/x");
}

TEST(OpenFilesResolverTest, withoutAHomeNamesStayWhole) {
    EXPECT_EQ(shown("/Users/a/x"), "/Users/a/x");
    EXPECT_EQ(shown("/Users/a/x", ""), "/Users/a/x");
}

TEST(OpenFilesResolverTest, theFirstFifteenAreShownAndTheRestIsCounted) {
    EXPECT_EQ(defaultCap, 15U);
    const OpenFileList list = openFiles(42, manyFiles(20));
    ASSERT_EQ(list.files.size(), 15U);
    EXPECT_EQ(list.overflow, 5U);
    EXPECT_EQ(list.files.front().name, "/srv/0");
    EXPECT_EQ(list.files.back().name, "/srv/14");
}

TEST(OpenFilesResolverTest, asManyAsTheCapLeaveNothingToCount) {
    struct Case {
        size_t count;
        size_t files;
        size_t overflow;
    };

    for (const auto& [count, files, overflow] :
         {Case{0, 0, 0}, Case{1, 1, 0}, Case{14, 14, 0}, Case{15, 15, 0}, Case{16, 15, 1}}) {
        SCOPED_TRACE(count);
        const OpenFileList list = openFiles(42, manyFiles(count));
        EXPECT_EQ(list.files.size(), files);
        EXPECT_EQ(list.overflow, overflow);
    }
}

TEST(OpenFilesResolverTest, theCapIsTheCallersChoice) {
    EXPECT_EQ(openFiles(42, manyFiles(3), std::nullopt, 2),
              (OpenFileList{{{"/srv/0", false}, {"/srv/1", false}}, 1}));
    EXPECT_EQ(openFiles(42, manyFiles(3), std::nullopt, 0), (OpenFileList{{}, 3}));
    EXPECT_EQ(openFiles(42, manyFiles(20), std::nullopt, 100).overflow, 0U);
}

TEST(OpenFilesResolverTest, onlyWhatIsKeptCountsAgainstTheCap) {
    const std::string more =
        record("40", "REG", "/srv/0") + record("41", "CHR", "/dev/null") + record("mem", "REG", "/lib/x.so");
    EXPECT_EQ(openFiles(42, manyFiles(15) + more).overflow, 0U);
    EXPECT_EQ(openFiles(42, more + manyFiles(15)).overflow, 0U);
}

} // namespace VintrelCore::OpenFilesResolver
