// What the kernel counts of a process that works for a while, and then rests.
#include "VintrelCore/log/CPUSampler.h"
#include "VintrelCore/platform/Platform.h"
#include "tests/support/Process.h"

#include <array>
#include <chrono>
#include <ctime>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using VintrelTests::forked;

namespace {

constexpr double work = 3; // seconds of a processor

/// A child that works once it is told to, says when it has, and rests until it is ended.
class Worker {
public:
    Worker() {
        EXPECT_EQ(::pipe(m_orders.data()), 0);
        EXPECT_EQ(::pipe(m_news.data()), 0);
        m_pid = forked();
        if (m_pid == 0) {
            live();
        }
        ::close(m_orders[0]);
        ::close(m_news[1]);
    }

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    ~Worker() {
        ::close(m_orders[1]); // it ends with that
        ::close(m_news[0]);
        ::waitpid(m_pid, nullptr, 0);
    }

    [[nodiscard]] int32_t pid() const { return m_pid; }

    /// Makes it work; whether it has done so.
    [[nodiscard]] bool letWork() const {
        pollfd news{.fd = m_news[0], .events = POLLIN, .revents = 0};
        char byte = 'w';
        return ::write(m_orders[1], &byte, 1) == 1 && ::poll(&news, 1, 50'000) == 1 &&
               ::read(m_news[0], &byte, 1) == 1;
    }

private:
    [[noreturn]] void live() const {
        ::close(m_orders[1]);
        ::close(m_news[0]);
        char byte = 0;
        while (::read(m_orders[0], &byte, 1) == 1) {
            const clock_t begin = std::clock();
            while (static_cast<double>(std::clock() - begin) < work * CLOCKS_PER_SEC) {
            }
            if (::write(m_news[1], &byte, 1) != 1) {
                break;
            }
        }
        ::_exit(0);
    }

    std::array<int, 2> m_orders{};
    std::array<int, 2> m_news{};
    int32_t m_pid = 0;
};

ProcessItem itemOf(int32_t pid) {
    return {.pid = pid, .command = "vite", .cpuPercent = 88, .startTime = Platform::startTime(pid)};
}

} // namespace

TEST(CPUSamplerLive, aProcessThatWorkedAndRestsIsSeenToDoSo) {
    const Worker worker;
    const std::vector items{itemOf(worker.pid())};
    CPUSampler sampler;
    const auto before = CPUSampler::read(items);
    EXPECT_EQ(sampler.observe(items, before).at(0).cpuPercent, 88) << "the first sample is what ps said";

    ASSERT_TRUE(worker.letWork());
    const auto after = CPUSampler::read(items);
    const double busy = sampler.observe(items, after).at(0).cpuPercent;
    EXPECT_NEAR(busy / 100 * (after.at - before.at), work, 0.2) << "the seconds that it worked";

    for (int scan = 0; scan < 3; ++scan) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        EXPECT_LT(sampler.observe(items, CPUSampler::read(items)).at(0).cpuPercent, 1);
    }
}

TEST(CPUSamplerLive, whatIsFoldedIntoARowCounts) {
    const Worker worker;
    const Worker idle;
    ProcessItem row = itemOf(idle.pid());
    row.folded = {{.pid = worker.pid(), .startTime = Platform::startTime(worker.pid())}};
    const std::vector items{row};
    CPUSampler sampler;
    const auto before = CPUSampler::read(items);
    (void)sampler.observe(items, before);
    ASSERT_TRUE(worker.letWork());
    const auto after = CPUSampler::read(items);
    const double busy = sampler.observe(items, after).at(0).cpuPercent;
    EXPECT_NEAR(busy / 100 * (after.at - before.at), work, 0.2);
}

TEST(CPUSamplerLive, onlyWhoTheScanSawIsRead) {
    const Worker worker;
    ProcessItem known = itemOf(worker.pid());
    EXPECT_TRUE(CPUSampler::read(std::vector{known}).used.contains(worker.pid()));
    ProcessItem another = known;
    another.startTime->sec += 1;
    EXPECT_TRUE(CPUSampler::read(std::vector{another}).used.empty());
    ProcessItem gone = known;
    gone.pid = 0x7FFF'FFFF;
    EXPECT_TRUE(CPUSampler::read(std::vector{gone}).used.empty());
}

TEST(CPUSamplerLive, itsClockGoesOn) {
    const double before = CPUSampler::read({}).at;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const double after = CPUSampler::read({}).at;
    EXPECT_GE(after - before, 0.1);
    EXPECT_LT(after - before, 10);
}
