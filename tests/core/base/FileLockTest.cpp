#include "VintrelCore/base/FileLock.h"

#include "VintrelCore/base/FileDescriptor.h"
#include "tests/core/base/FolderContent.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

/// Whether another process gets the lock at once.
bool isFreeForOthers(const std::string& path) {
    const pid_t child = VintrelTests::forked();
    if (child == 0) {
        std::_Exit(FileLock::take(path, 0ms) ? 1 : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 1;
}

/// A child process that takes the lock and keeps it until it is killed.
pid_t startKeeper(const std::string& path) {
    int ready[2];
    if (::pipe(ready) != 0) {
        return -1;
    }
    const pid_t child = VintrelTests::forked();
    if (child == 0) {
        const auto lock = FileLock::take(path, 1s);
        const char answer = lock ? 'y' : 'n';
        if (::write(ready[1], &answer, 1) == 1) {
            ::pause();
        }
        std::_Exit(0);
    }
    char answer = 'n';
    EXPECT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    ::close(ready[0]);
    ::close(ready[1]);
    return child;
}

void end(pid_t child) {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

} // namespace

TEST(FileLock, makesItsFileForTheUserAlone) {
    const TemporaryFolder folder;
    const ScopedUmask open(0);
    const std::string path = folder.path() / "lock";
    EXPECT_TRUE(FileLock::take(path, 0ms));
    EXPECT_EQ(modeOf(path), 0600);
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"lock"}) << "it stays";
}

TEST(FileLock, whoMissesEveryTurnOfTheOthersGoesOnWaiting) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    const FileDescriptor others(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(others.get(), LOCK_EX), 0);
    std::thread turns([&others] { // the lock goes from one to the next, and is never seen free
        for (int turn = 0; turn < 10; ++turn) {
            std::this_thread::sleep_for(60ms);
            ::futimens(others.get(), nullptr);
        }
        ::flock(others.get(), LOCK_UN);
    });
    EXPECT_TRUE(FileLock::take(path, 300ms)) << "nobody kept it for longer than that";
    turns.join();
}

TEST(FileLock, leavesTheContentOfAFileThatIsThere) {
    const TemporaryFolder folder;
    const std::string path = folder.write("lock", "content");
    EXPECT_TRUE(FileLock::take(path, 0ms));
    EXPECT_EQ(bytesOf(path), "content");
}

TEST(FileLock, keepsOtherProcessesOutWhileItLives) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    auto lock = FileLock::take(path, 0ms);
    ASSERT_TRUE(lock);
    EXPECT_FALSE(isFreeForOthers(path));
    EXPECT_FALSE(isFreeForOthers(path)) << "having tried changes nothing";
    lock.reset();
    EXPECT_TRUE(isFreeForOthers(path));
}

TEST(FileLock, keepsOtherLocksOfThisProcessOut) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    auto first = FileLock::take(path, 0ms);
    ASSERT_TRUE(first);
    EXPECT_FALSE(FileLock::take(path, 0ms));
    EXPECT_FALSE(FileLock::take(path, 50ms));
    EXPECT_FALSE(isFreeForOthers(path)) << "a failed attempt does not give the lock away";
    first.reset();
    EXPECT_TRUE(FileLock::take(path, 0ms));
}

TEST(FileLock, locksOfDifferentFilesDoNotMeet) {
    const TemporaryFolder folder;
    const auto first = FileLock::take(folder.path() / "a", 0ms);
    const auto second = FileLock::take(folder.path() / "b", 0ms);
    EXPECT_TRUE(first && second);
}

TEST(FileLock, isTheSameByAnyNameOfTheFile) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    const auto lock = FileLock::take(path, 0ms);
    ASSERT_TRUE(lock);
    std::filesystem::create_directory_symlink(folder.path(), folder.path() / "again");
    EXPECT_FALSE(FileLock::take(folder.path() / "again/lock", 0ms));
}

TEST(FileLock, waitsAsLongAsItsPatience) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    const pid_t keeper = startKeeper(path);
    for (const auto patience : {0ms, 50ms, 400ms}) {
        const auto start = Clock::now();
        EXPECT_FALSE(FileLock::take(path, patience));
        const auto took = Clock::now() - start;
        EXPECT_GE(took, patience);
        EXPECT_LT(took, patience + 1s);
    }
    end(keeper);
}

TEST(FileLock, isTakenAsSoonAsTheOtherGivesItBack) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    auto first = FileLock::take(path, 0ms);
    ASSERT_TRUE(first);
    const std::jthread giver([&first] {
        std::this_thread::sleep_for(200ms);
        first.reset();
    });
    const auto start = Clock::now();
    EXPECT_TRUE(FileLock::take(path, 30s));
    const auto took = Clock::now() - start;
    EXPECT_GE(took, 150ms);
    EXPECT_LT(took, 3s);
}

TEST(FileLock, endsWithItsProcess) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    const pid_t keeper = startKeeper(path);
    EXPECT_FALSE(FileLock::take(path, 0ms));
    end(keeper);
    EXPECT_TRUE(FileLock::take(path, 0ms));
}

TEST(FileLock, programsThatAreStartedMeanwhileDoNotKeepIt) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    auto lock = FileLock::take(path, 0ms);
    ASSERT_TRUE(lock);
    Process tool({.argv = {"/bin/sh", "-c", "echo started; exec sleep 30"}});
    ASSERT_EQ(tool.readLine(), "started");
    lock.reset();
    EXPECT_TRUE(FileLock::take(path, 0ms));
}

TEST(FileLock, aMovedLockIsStillHeldAndOnlyOnce) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    auto taken = FileLock::take(path, 0ms);
    ASSERT_TRUE(taken);
    {
        const FileLock moved = std::move(*taken);
        EXPECT_FALSE(isFreeForOthers(path));
        taken.reset();
        EXPECT_FALSE(isFreeForOthers(path)) << "what was moved from holds nothing";
    }
    EXPECT_TRUE(isFreeForOthers(path));
}

TEST(FileLock, onlyOneOfManyHasItAtATime) {
    const TemporaryFolder folder;
    const std::string path = folder.path() / "lock";
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::atomic<int> times = 0;
    {
        std::vector<std::jthread> threads;
        for (int number = 0; number < 8; ++number) {
            threads.emplace_back([&] {
                for (int round = 0; round < 20; ++round) {
                    if (const auto lock = FileLock::take(path, 30s)) {
                        most = std::max(most.load(), ++inside);
                        std::this_thread::yield();
                        --inside;
                        ++times;
                    }
                }
            });
        }
    }
    EXPECT_EQ(most, 1);
    EXPECT_EQ(times, 160);
}

TEST(FileLock, thereIsNoneWhereItsFileCannotBeMade) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "content");
    const auto start = Clock::now();
    EXPECT_FALSE(FileLock::take(file + "/lock", 30s));
    EXPECT_FALSE(FileLock::take("", 30s));
    EXPECT_FALSE(FileLock::take(folder.path() / std::string(300, 'n'), 30s));
    EXPECT_LT(Clock::now() - start, 5s) << "there is nothing to wait for";
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"file"});
}
