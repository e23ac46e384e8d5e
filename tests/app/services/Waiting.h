#pragma once

#include "tests/support/Process.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <mutex>

#include <poll.h>

// For tests of what happens at the same time.
namespace VintrelTests {

/// A number of tasks that wait for each other: only when they run side by side do they meet.
class Meeting {
public:
    explicit Meeting(int expected) : m_missing(expected) {}

    /// Whether all came, within ten seconds.
    bool isAttendedByAll() {
        std::unique_lock lock(m_mutex);
        --m_missing;
        m_somebodyCame.notify_all();
        return m_somebodyCame.wait_for(lock, std::chrono::seconds(10), [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_somebodyCame;
    int m_missing;
};

/// Waits until the descriptor becomes readable; whether it does.
inline bool becomesReadable(int descriptor, std::chrono::milliseconds patience) {
    pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&entry, 1, static_cast<int>(patience.count())) == 1 &&
           (entry.revents & (POLLIN | POLLHUP)) != 0;
}

inline long entriesOf(const std::filesystem::path& folder) {
    return std::ranges::distance(std::filesystem::directory_iterator(folder));
}

inline long threadsOfThisProcess() {
    return entriesOf("/proc/self/task");
}

inline long descriptorsOfThisProcess() {
    return entriesOf("/proc/self/fd");
}

} // namespace VintrelTests
