#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "tests/core/context/Printing.h"
#include "tests/core/context/ReplacedTool.h"
#include "tests/core/context/SleepingChild.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace VintrelCore::OpenFilesResolver {

using VintrelTests::exitWithVerdict;
using VintrelTests::haveMountsOfOnesOwn;
using VintrelTests::Process;
using VintrelTests::replaceTool;
using VintrelTests::SleepingChild;
using VintrelTests::TemporaryFolder;

namespace {

/// Opens the files that it is given, the first one twice, and a socket of every kind; says on which port it
/// listens, and waits. What it inherited is closed first.
constexpr const char* holder = R"(
import os, socket, sys
os.closerange(2, 4096)
held = [open(name) for name in sys.argv[2:]] + [open(sys.argv[2])]
network = socket.create_server(("127.0.0.1", 0))
local = socket.socket(socket.AF_UNIX)
local.bind(sys.argv[1])
local.listen()
ends = os.pipe()
null = open("/dev/null")
print(network.getsockname()[1], flush=True)
sys.stdin.read()
)";

/// What all ended children together have cost. It grows with every tool that runs.
long costOfChildren() {
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_minflt;
}

} // namespace

TEST(LiveOpenFilesTest, seesTheFilesAndSocketsOfARealProcess) {
    const TemporaryFolder home;
    const auto database = home.write("src/db.sqlite", "x");
    const auto odd = home.write("src/Meine Läden/a\nb\\c\xed.log", "x");
    const std::string socket = (home.path() / "x.sock").string();
    Process child({.argv = {"python3", "-c", holder, socket, database.string(), odd.string()}});
    const std::string port = child.readLine();
    ASSERT_FALSE(port.empty());

    const OpenFileList list = openFiles(child.pid(), std::nullopt, home.path().string());
    ASSERT_EQ(list.files.size(), 4U) << testing::PrintToString(list);
    EXPECT_EQ(list.overflow, 0U);
    EXPECT_EQ(list.files[0], (OpenFile{"~/src/db.sqlite", false}));
    EXPECT_EQ(list.files[1], (OpenFile{"~/src/Meine Läden/a\nb\\c\xed.log", false}));
    EXPECT_TRUE(list.files[2] == (OpenFile{"localhost:" + port, true}) ||
                list.files[2] == (OpenFile{"127.0.0.1:" + port, true}))
        << list.files[2].name;
    EXPECT_TRUE(list.files[3].isSocket);
    EXPECT_TRUE(list.files[3].name.starts_with(socket)) << list.files[3].name;

    EXPECT_EQ(openFiles(child.pid(), std::nullopt, home.path().string(), 1),
              (OpenFileList{{{"~/src/db.sqlite", false}}, 3}));
}

TEST(LiveOpenFilesTest, aProcessThatIsGoneHasNothingOpen) {
    SleepingChild child("/");
    child.end();
    EXPECT_EQ(openFiles(child.pid()), OpenFileList{});
}

TEST(LiveOpenFilesTest, preparedOutputIsNotAskedForAgain) {
    const long before = costOfChildren();
    EXPECT_EQ(openFiles(::getpid(), ""), OpenFileList{});
    EXPECT_EQ(costOfChildren(), before);
}

TEST(LiveOpenFilesTest, nobodyIsAskedAboutWhatCanBeNoProcess) {
    const long before = costOfChildren();
    for (const int32_t pid : {0, -1, -42, INT32_MIN}) {
        EXPECT_EQ(openFiles(pid), OpenFileList{}) << pid;
    }
    EXPECT_EQ(costOfChildren(), before) << "a tool ran";
    static_cast<void>(openFiles(::getpid()));
    EXPECT_GT(costOfChildren(), before) << "this is how it shows that a tool ran";
}

TEST(LiveOpenFilesDeathTest, whatMayNotBeLookedIntoHasNothingOpen) {
    const TemporaryFolder folder;
    const std::ifstream held(folder.write("held", "x"));
    ASSERT_TRUE(held.is_open());
    const auto askAboutASecretiveProcess = [] {
        // Only root may look into it from outside; and whoever is root here is so no more.
        if (::geteuid() == 0 && ::setuid(65'534) != 0) {
            std::_Exit(2);
        }
        ::prctl(PR_SET_DUMPABLE, 0);
        EXPECT_EQ(openFiles(::getpid()), OpenFileList{});
        exitWithVerdict();
    };
    EXPECT_FALSE(openFiles(::getpid()).files.empty());
    EXPECT_EXIT(askAboutASecretiveProcess(), ::testing::ExitedWithCode(0), "");
}

TEST(LiveOpenFilesDeathTest, lsofIsAskedAboutOneProcessAndItsExitStatusSaysNothing) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const auto script =
        folder.write("lsof", "#!/bin/sh\nprintf 'p42\\nf3\\ntREG\\nn%s\\n' \"$# words: $*\"\nexit 1\n");
    const auto ask = [&script] {
        haveMountsOfOnesOwn();
        replaceTool(Lsof::path(), script);
        EXPECT_EQ(openFiles(42), (OpenFileList{{{"3 words: -p 42 -Fftn", false}}, 0}));
        exitWithVerdict();
    };
    EXPECT_EXIT(ask(), ::testing::ExitedWithCode(0), "");
}

TEST(LiveOpenFilesDeathTest, whenLsofHangsItIsAskedAgainWithoutWhatCanBlock) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const auto script = folder.write("lsof", "#!/bin/sh\n"
                                             "[ \"$1\" = -b ] || exec sleep 60\n"
                                             "printf 'p42\\nf3\\ntREG\\nn%s\\n' \"$*\"\n");
    const auto ask = [&script] {
        haveMountsOfOnesOwn();
        replaceTool(Lsof::path(), script);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(openFiles(42), (OpenFileList{{{"-b -w -p 42 -Fftn", false}}, 0}));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
        exitWithVerdict();
    };
    EXPECT_EXIT(ask(), ::testing::ExitedWithCode(0), "");
}

} // namespace VintrelCore::OpenFilesResolver
