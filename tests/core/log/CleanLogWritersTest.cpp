// Several writers of one log, and writers that are killed.
#include "VintrelCore/base/FileLock.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/Child.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::chrono_literals;
using CleanLogFile::append;
using CleanLogFile::decode;
using CleanLogFile::encode;
using CleanLogFile::load;

namespace {

using Clock = std::chrono::steady_clock;

const std::string logName = "clean-log.json";

/// Appends one event at a time; the number of those that were not saved.
int appendEach(const std::string& url, const std::string& writer, int64_t count) {
    int failed = 0;
    for (int64_t at = 1; at <= count; ++at) {
        const Events events{eventAt(at, writer, std::to_string(at))};
        failed += append(events, url, retentionCap).isSaved ? 0 : 1;
    }
    return failed;
}

void expectAll(const Events& events, int writers, int64_t count) {
    EXPECT_EQ(events.size(), static_cast<size_t>(writers * count));
    EXPECT_TRUE(std::ranges::is_sorted(events, {}, &CleanEvent::timestamp));
    for (int writer = 0; writer < writers; ++writer) {
        for (int64_t at = 1; at <= count; ++at) {
            const CleanEvent event = eventAt(at, std::to_string(writer), std::to_string(at));
            EXPECT_EQ(std::ranges::count(events, event), 1) << "event " << at << " of writer " << writer;
        }
    }
}

} // namespace

TEST(LogWriters, fourAtTheSameTimeLoseNothing) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / "Vintrel" / logName; // and all of them make the folder
    std::vector<std::unique_ptr<Child>> writers;
    SharedNumber ended;
    for (int writer = 0; writer < 4; ++writer) {
        writers.push_back(std::make_unique<Child>([&url, &ended, writer] {
            const int failed = appendEach(url, std::to_string(writer), 50);
            ++ended.value();
            return failed;
        }));
    }
    size_t seen = 0;
    size_t reads = 0;
    while (ended.value() < 4) { // a reader never sees less than before, nor half a log
        const auto bytes = bytesOf(url);
        const auto events = bytes ? decode(*bytes) : Events{};
        ASSERT_TRUE(events) << *bytes;
        ASSERT_GE(events->size(), seen);
        seen = events->size();
        ++reads;
        std::this_thread::sleep_for(1ms);
    }
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->wait(), 0);
    }
    expectAll(load(url, retentionCap), 4, 50);
    EXPECT_EQ(namesIn(folder.path() / "Vintrel").size(), 2U) << "the log and its lock";
    std::cout << "4 writers of 50 events each: " << load(url, retentionCap).size() << " events are there, "
              << reads << " reads in between\n";
}

TEST(LogWriters, threadsOfOneProcessLoseNothing) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / logName;
    std::atomic<int> failed = 0;
    {
        std::vector<std::jthread> writers;
        for (int writer = 0; writer < 4; ++writer) {
            writers.emplace_back([&, writer] { failed += appendEach(url, std::to_string(writer), 15); });
        }
    }
    EXPECT_EQ(failed, 0);
    expectAll(load(url, retentionCap), 4, 15);
}

TEST(LogWriters, thoseThatAreKilledBreakNothing) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / logName;
    constexpr int64_t cap = 30;
    constexpr int rounds = 100;
    ASSERT_TRUE(append(Events{eventAt(0)}, url, cap).isSaved);
    const Names usual = nameSetOf(folder.path());
    std::mt19937 random(4'242); // the same moments in every run
    std::uniform_int_distribution<int> microseconds(0, 25'000);
    const SharedNumber saved;
    int leftovers = 0;
    for (int round = 0; round < rounds; ++round) {
        const int64_t first = saved.value() + 2; // the one after the last saved may have been written too
        Child writer([&] {
            for (int64_t at = first;; ++at) {
                if (!append(Events{eventAt(at)}, url, cap).isSaved) {
                    return 1;
                }
                saved.value() = at;
            }
        });
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        writer.kill();
        leftovers += nameSetOf(folder.path()) != usual ? 1 : 0;
        const auto events = eventsIn(url);
        ASSERT_TRUE(events) << "round " << round;
        const int64_t newest = events->back().timestamp.time_since_epoch() / 1s;
        ASSERT_GE(newest, saved.value()) << "what was reported as saved is there";
        ASSERT_LE(newest, std::max(first, saved.value() + 1));
        saved.value() = newest;
    }
    EXPECT_TRUE(append(Events{eventAt(saved.value() + 9)}, url, cap).isSaved);
    EXPECT_EQ(nameSetOf(folder.path()), usual) << "leftovers are gone";
    std::cout << rounds << " killed writers of " << saved.value() << " events: the log was whole every time, "
              << leftovers << " left a file behind, none of them is still there\n";
}

TEST(LogWriters, whatOneLeftInTheMiddleOfWritingIsRemovedByTheNext) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / logName;
    ASSERT_TRUE(append(eventsFrom(1, 10), url, retentionCap).isSaved);
    const Names usual = nameSetOf(folder.path());
    const auto before = bytesOf(url);
    for (int time = 0; time < 3; ++time) {
        const int outcome = inChild([&] {
            const rlimit most{500, 500}; // the kernel ends the writer at this byte
            const rlimit none{0, 0};
            ::setrlimit(RLIMIT_CORE, &none);
            ::setrlimit(RLIMIT_FSIZE, &most);
            return append(eventsFrom(11, 40), url, retentionCap).isSaved ? 1 : 0;
        });
        EXPECT_EQ(outcome, -SIGXFSZ);
        EXPECT_EQ(bytesOf(url), before);
        EXPECT_GT(nameSetOf(folder.path()).size(), usual.size()) << "it was ended in the middle";
    }
    EXPECT_TRUE(append(eventsFrom(11, 11), url, retentionCap).isSaved);
    EXPECT_EQ(nameSetOf(folder.path()), usual);
    EXPECT_EQ(eventsIn(url), eventsFrom(1, 11));
}

TEST(LogWriters, aLockThatIsNeverGivenBackIsNotWaitedForForEver) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / logName;
    ASSERT_TRUE(append(eventsFrom(1, 3), url, retentionCap).isSaved);
    const std::string lockPath = folder.path() / lockNameOf(logName);
    const SharedNumber isLocked;
    Child keeper([&] {
        const auto lock = FileLock::take(lockPath, 1s);
        isLocked.value() = lock ? 1 : -1;
        ::pause();
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return isLocked.value() != 0; }));
    ASSERT_EQ(isLocked.value(), 1);

    auto start = Clock::now();
    EXPECT_EQ(load(url, retentionCap), eventsFrom(1, 3));
    EXPECT_LT(Clock::now() - start, 1s) << "reading needs no lock";
    start = Clock::now();
    const auto appended = append(eventsFrom(4, 4), url, retentionCap);
    const auto took = Clock::now() - start;
    EXPECT_GT(took, 1s) << "the other is given time";
    EXPECT_LT(took, 20s);
    EXPECT_EQ(eventsIn(url), appended.isSaved ? eventsFrom(1, 4) : eventsFrom(1, 3));
    EXPECT_EQ(appended.events, eventsFrom(1, 4));

    keeper.kill();
    start = Clock::now();
    EXPECT_TRUE(append(eventsFrom(5, 5), url, retentionCap).isSaved);
    EXPECT_LT(Clock::now() - start, 3s) << "a dead process keeps nothing";
}

TEST(LogWriters, oneWaitsForTheOther) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / logName;
    ASSERT_TRUE(append(eventsFrom(1, 1), url, retentionCap).isSaved);
    const std::string lockPath = folder.path() / lockNameOf(logName);
    const SharedNumber isLocked;
    Child writer([&] { // started before there is a lock that it could inherit
        const bool isTime = eventually([&] { return isLocked.value() == 1; });
        return isTime && append(eventsFrom(2, 2), url, retentionCap).isSaved ? 0 : 1;
    });
    auto lock = FileLock::take(lockPath, 1s);
    ASSERT_TRUE(lock);
    isLocked.value() = 1;
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(eventsIn(url), eventsFrom(1, 1)) << "nothing is written while another has the lock";
    const auto start = Clock::now();
    lock.reset();
    EXPECT_EQ(writer.wait(), 0);
    EXPECT_LT(Clock::now() - start, 2s) << "and then at once";
    EXPECT_EQ(eventsIn(url), eventsFrom(1, 2));
}

TEST(LogWriters, aLogThatAnotherReplacesIsReadAgain) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / logName;
    ASSERT_TRUE(append(eventsFrom(1, 1), url, retentionCap).isSaved);
    EXPECT_EQ(inChild([&] { return append(eventsFrom(2, 2), url, retentionCap).isSaved ? 0 : 1; }), 0);
    EXPECT_EQ(append(eventsFrom(3, 3), url, retentionCap).events, eventsFrom(1, 3));
}
