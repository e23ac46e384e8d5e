// A program that runs for weeks must not grow.
#include "tests/app/support/EngineTest.h"

#include <filesystem>
#include <iostream>
#include <iterator>

#include <gtest/gtest.h>

#include <malloc.h>

namespace Vintrel {

namespace {

namespace fs = std::filesystem;

struct Holdings {
    size_t bytes = 0; ///< in use on the heap; a sanitizer's allocator tells none
    long descriptors = 0;
    long threads = 0;

    static Holdings now() {
        return {.bytes = ::mallinfo2().uordblks,
                .descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), {}),
                .threads = std::distance(fs::directory_iterator("/proc/self/task"), {})};
    }
};

class EngineGrowth : public EngineTest {
protected:
    /// One scan of a world in which strays come and go, each looked at.
    void scanAndLook(int round) {
        const int32_t pid = 1'000 + round;
        world->found.cwds = {{pid, cwdOf("~/work/shop")}};
        scan({safeItem(1), safeItem(pid)});
        engine().loadOpenFiles(pid);
        engine().dismiss(1);
        engine().restoreHiddenAndScan();
        ASSERT_TRUE(spinUntil([&] { return engine().openFiles().contains(pid) && !engine().isScanning(); }));
        forgetQuestions();
    }

private:
    /// What the stand-ins keep would grow, too.
    void forgetQuestions() {
        changes.clear();
        world->scans.clear();
        world->sampled.clear();
        world->openFilesQueries.clear();
        world->threads.clear();
    }
};

} // namespace

TEST_F(EngineGrowth, isNoneInAThousandScans) {
    constexpr int warmUp = 100;
    constexpr int rounds = 500; // of two scans each
    for (int round = 0; round < warmUp; ++round) {
        scanAndLook(round);
    }
    spinFor(std::chrono::milliseconds(100));
    const Holdings before = Holdings::now();
    for (int round = 0; round < rounds; ++round) {
        scanAndLook(warmUp + round);
    }
    spinFor(std::chrono::milliseconds(100));
    const Holdings after = Holdings::now();
    const auto growth = static_cast<long>(after.bytes) - static_cast<long>(before.bytes);
    std::cout << "after " << 2 * rounds << " scans: " << growth << " bytes more\n";
    constexpr long noise = 16'384; // less than seventeen bytes a scan
    EXPECT_LT(growth, noise);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.threads, before.threads);
}

} // namespace Vintrel
