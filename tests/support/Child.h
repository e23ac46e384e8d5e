#pragma once

#include "tests/support/Process.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <stdexcept>

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

/// A copy of this process that runs `work`. Killed and reaped at the latest when the object goes. No
/// expectation counts in there.
class Child {
public:
    explicit Child(const std::function<int()>& work) : m_pid(forked()) {
        if (m_pid == 0) {
            std::_Exit(work());
        }
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    ~Child() {
        if (m_pid > 0) {
            kill();
        }
    }

    void kill() {
        ::kill(m_pid, SIGKILL);
        wait();
    }

    /// Whether it has come to its end, without waiting for that.
    [[nodiscard]] bool hasEnded() const {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == m_pid;
    }

    /// The exit status, or minus the signal that ended it.
    int wait() {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t m_pid;
};

/// A number that a child and its parent share.
class SharedNumber {
public:
    SharedNumber()
        : m_memory(::mmap(nullptr, sizeof(std::atomic<int64_t>), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (m_memory == MAP_FAILED) {
            throw std::runtime_error("no memory to share");
        }
        m_number = new (m_memory) std::atomic<int64_t>(0);
    }

    SharedNumber(const SharedNumber&) = delete;
    SharedNumber& operator=(const SharedNumber&) = delete;

    ~SharedNumber() { ::munmap(m_memory, sizeof(std::atomic<int64_t>)); }

    [[nodiscard]] std::atomic<int64_t>& value() const { return *m_number; }

private:
    void* m_memory;
    std::atomic<int64_t>* m_number = nullptr;
};

} // namespace VintrelTests
