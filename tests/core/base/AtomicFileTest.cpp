#include "VintrelCore/base/AtomicFile.h"

#include "tests/core/base/FolderContent.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

/// Leaves behind what a writer of `path` has when it is killed in the middle.
void writeAndDie(const std::string& path) {
    const auto before = namesIn(fs::path(path).parent_path());
    const pid_t child = VintrelTests::forked();
    if (child == 0) {
        const rlimit most{100, 100}; // the kernel ends the writer at this byte
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_CORE, &none);
        ::setrlimit(RLIMIT_FSIZE, &most);
        std::_Exit(AtomicFile::write(path, std::string(1'000, 'x')) ? 1 : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ);
    ASSERT_EQ(namesIn(fs::path(path).parent_path()).size(), before.size() + 1) << "it left something";
}

} // namespace

TEST(AtomicFileWrite, makesAFileOfTheseBytes) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "file";
    for (const std::string& bytes : {std::string("text\n"), std::string(), std::string("\0\xff\r\n", 4),
                                     std::string(5'000'000, 'l'), std::string("short")}) {
        EXPECT_TRUE(AtomicFile::write(path, bytes));
        EXPECT_EQ(bytesOf(path), bytes);
        EXPECT_EQ(namesIn(folder.path()), Names{"file"});
    }
}

TEST(AtomicFileWrite, theFileIsTheUsersAloneWhateverItWas) {
    const TemporaryFolder folder;
    const ScopedUmask open(0);
    const std::string path = folder.write("file", "old");
    fs::permissions(path, fs::perms(0666));
    EXPECT_TRUE(AtomicFile::write(path, "new"));
    EXPECT_EQ(modeOf(path), 0600);
    EXPECT_TRUE(AtomicFile::write(folder.path() / "fresh", "new"));
    EXPECT_EQ(modeOf(folder.path() / "fresh"), 0600);
}

TEST(AtomicFileWrite, makesMissingFoldersForTheUserAlone) {
    const TemporaryFolder folder;
    const ScopedUmask open(0);
    fs::permissions(folder.makeFolder("there"), fs::perms(0755));
    EXPECT_TRUE(AtomicFile::write(folder.path() / "there/a/b c/file", "bytes"));
    EXPECT_EQ(bytesOf(folder.path() / "there/a/b c/file"), "bytes");
    EXPECT_EQ(modeOf(folder.path() / "there"), 0755);
    EXPECT_EQ(modeOf(folder.path() / "there/a"), 0700);
    EXPECT_EQ(modeOf(folder.path() / "there/a/b c"), 0700);
}

TEST(AtomicFileWrite, replacesTheFileAndDoesNotWriteIntoIt) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "old");
    fs::create_hard_link(path, folder.path() / "other name");
    EXPECT_TRUE(AtomicFile::write(path, "new"));
    EXPECT_EQ(bytesOf(folder.path() / "other name"), "old");
}

TEST(AtomicFileWrite, replacesAFileThatMayNotBeWritten) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "old");
    fs::permissions(path, fs::perms(0400));
    EXPECT_TRUE(AtomicFile::write(path, "new"));
    EXPECT_EQ(bytesOf(path), "new");
}

TEST(AtomicFileWrite, takesPathsFromTheCurrentFolder) {
    const TemporaryFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_TRUE(AtomicFile::write("plain", "one"));
    EXPECT_TRUE(AtomicFile::write("./dotted", "two"));
    EXPECT_TRUE(AtomicFile::write("sub/folder/file", "three"));
    fs::current_path(before);
    EXPECT_EQ(bytesOf(folder.path() / "plain"), "one");
    EXPECT_EQ(bytesOf(folder.path() / "dotted"), "two");
    EXPECT_EQ(bytesOf(folder.path() / "sub/folder/file"), "three");
    EXPECT_EQ(namesIn(folder.path()), (Names{"dotted", "plain", "sub"}));
}

TEST(AtomicFileWrite, aLongNameIsNoReasonToLoseTheFile) {
    const TemporaryFolder folder;
    EXPECT_TRUE(AtomicFile::write(folder.path() / std::string(200, 's'), "bytes"));
    const std::string longest = folder.write(std::string(255, 'l'), "old");
    const bool isWritten = AtomicFile::write(longest, "new"); // there may be no room for a name beside it
    EXPECT_EQ(bytesOf(longest), isWritten ? "new" : "old");
    EXPECT_FALSE(AtomicFile::write(folder.path() / std::string(256, 'n'), "bytes"));
    EXPECT_EQ(namesIn(folder.path()), (Names{std::string(255, 'l'), std::string(200, 's')}));
}

TEST(AtomicFileWrite, whatIsNoFileStays) {
    const TemporaryFolder folder;
    folder.makeFolder("empty");
    folder.write("full/inside", "mine");
    EXPECT_FALSE(AtomicFile::write(folder.path() / "empty", "bytes"));
    EXPECT_FALSE(AtomicFile::write(folder.path() / "full", "bytes"));
    EXPECT_FALSE(AtomicFile::write(folder.path() / "full/inside/below", "bytes"));
    EXPECT_FALSE(AtomicFile::write(folder.path() / "full/", "bytes"));
    EXPECT_FALSE(AtomicFile::write("", "bytes"));
    EXPECT_EQ(bytesOf(folder.path() / "full/inside"), "mine");
    EXPECT_EQ(namesIn(folder.path()), (Names{"empty", "full"}));
    EXPECT_EQ(namesIn(folder.path() / "empty"), Names{});
    EXPECT_EQ(namesIn(folder.path() / "full"), Names{"inside"});
}

TEST(AtomicFileWrite, aFileThatMayNotGrowLeavesTheOldOne) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "old");
    for (const rlim_t limit : {0U, 1U, 4'095U, 65'536U}) {
        const pid_t child = VintrelTests::forked();
        if (child == 0) {
            const rlimit most{limit, limit};
            ::signal(SIGXFSZ, SIG_IGN);
            ::setrlimit(RLIMIT_FSIZE, &most);
            const bool isWritten = AtomicFile::write(path, std::string(100'000, 'x')) ||
                                   AtomicFile::write(path + ".fresh", std::string(100'000, 'x'));
            std::_Exit(isWritten ? 1 : 0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(bytesOf(path), "old");
        EXPECT_EQ(namesIn(folder.path()), Names{"file"});
    }
}

TEST(AtomicFileWrite, aReaderSeesOneOrTheOther) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "file";
    const std::string first(300'000, 'a');
    const std::string second(10, 'b');
    ASSERT_TRUE(AtomicFile::write(path, first));
    std::atomic<bool> isDone = false;
    std::atomic<int> halves = 0;
    {
        const std::jthread reader([&] {
            while (!isDone) {
                const auto bytes = bytesOf(path);
                halves += bytes == first || bytes == second ? 0 : 1;
            }
        });
        for (int round = 0; round < 100; ++round) {
            EXPECT_TRUE(AtomicFile::write(path, round % 2 == 0 ? second : first));
        }
        isDone = true;
    }
    EXPECT_EQ(halves, 0);
}

TEST(AtomicFileLeftovers, ofWritersThatWereKilledAreRemoved) {
    const TemporaryFolder folder;
    const std::string path = folder.write("log.json", "old");
    writeAndDie(path);
    writeAndDie(path);
    EXPECT_EQ(bytesOf(path), "old");
    AtomicFile::removeLeftovers(path);
    EXPECT_EQ(namesIn(folder.path()), Names{"log.json"});
    EXPECT_EQ(bytesOf(path), "old");
}

TEST(AtomicFileLeftovers, areRemovedWhereTheFileItselfNeverCame) {
    const TemporaryFolder folder;
    writeAndDie(folder.path() / "log.json");
    AtomicFile::removeLeftovers(folder.path() / "log.json");
    EXPECT_EQ(namesIn(folder.path()), Names{});
}

TEST(AtomicFileLeftovers, ofOtherFilesAreNobodysHere) {
    const TemporaryFolder folder;
    const std::string path = folder.write("log.json", "old");
    for (const std::string other :
         {"ports.json", "log", "log.json.damaged", "log.jso", "xlog.json", "log.json2"}) {
        writeAndDie(folder.path() / other);
    }
    const Names before = namesIn(folder.path());
    AtomicFile::removeLeftovers(path);
    EXPECT_EQ(namesIn(folder.path()), before);
}

TEST(AtomicFileLeftovers, ofALongerNameAreNobodysHere) {
    const TemporaryFolder folder;
    const std::string path = folder.write("log", "old");
    writeAndDie(folder.path() / "log.json");
    writeAndDie(folder.path() / "log.tmp");
    const Names before = namesIn(folder.path());
    AtomicFile::removeLeftovers(path);
    EXPECT_EQ(namesIn(folder.path()), before);
}

TEST(AtomicFileLeftovers, otherFilesStay) {
    const TemporaryFolder folder;
    const Names others{".log.json.swp", "log.json",  "log.json.1",    "log.json.bak", "log.json.damaged",
                       "log.json.lock", "log.json~", "log.json.old",  "log.jsonx",    "my log.json",
                       "new log.json",  "tmp",       ".log.json.orig"};
    for (const std::string& name : others) {
        folder.write(name, name);
    }
    fs::create_directory(folder.path() / "log.json.d");
    const Names before = namesIn(folder.path());
    AtomicFile::removeLeftovers(folder.path() / "log.json");
    EXPECT_EQ(namesIn(folder.path()), before);
}

TEST(AtomicFileLeftovers, whereThereAreNoneNothingHappens) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "bytes");
    AtomicFile::removeLeftovers(folder.path() / "missing/file");
    AtomicFile::removeLeftovers(file + "/below");
    AtomicFile::removeLeftovers("");
    EXPECT_EQ(namesIn(folder.path()), Names{"file"});
}
