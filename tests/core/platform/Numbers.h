#pragma once

#include "VintrelCore/platform/ProcessHandle.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include <linux/sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

/// A child with a number of the test's choice, which sleeps with all signals blocked and so keeps those that
/// it gets; absent when the number is taken. Needs root.
class WithNumber {
public:
    static std::optional<WithNumber> start(pid_t number) {
        clone_args arguments{};
        arguments.exit_signal = SIGCHLD;
        arguments.set_tid = reinterpret_cast<uint64_t>(&number);
        arguments.set_tid_size = 1;
        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, &before);
        const long pid = ::syscall(SYS_clone3, &arguments, sizeof arguments);
        while (pid == 0) {
            ::pause();
        }
        ::sigprocmask(SIG_SETMASK, &before, nullptr);
        return pid == number ? std::optional(WithNumber(number)) : std::nullopt;
    }

    WithNumber(WithNumber&& other) noexcept : m_pid(std::exchange(other.m_pid, 0)) {}

    WithNumber& operator=(WithNumber&&) = delete;
    WithNumber(const WithNumber&) = delete;
    WithNumber& operator=(const WithNumber&) = delete;

    ~WithNumber() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }

    /// It runs, and no signal waits for it.
    [[nodiscard]] bool isUntouched() const {
        siginfo_t info{};
        ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT | WNOHANG);
        return info.si_pid == 0 && pendingSignals(m_pid) == 0;
    }

private:
    explicit WithNumber(pid_t pid) : m_pid(pid) {}

    static unsigned long pendingSignals(pid_t pid) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        unsigned long pending = 0;
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("ShdPnd:") || line.starts_with("SigPnd:")) {
                pending |= std::stoul(line.substr(7), nullptr, 16);
            }
        }
        return pending;
    }

    pid_t m_pid;
};

/// The first thread that a process started.
inline pid_t secondThreadOf(pid_t pid) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        const pid_t thread = std::stoi(entry.path().filename().string());
        if (thread != pid) {
            return thread;
        }
    }
    return 0;
}

inline void startASleepingThread() {
    std::thread([] {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
        for (;;) {
            ::pause();
        }
    }).detach();
}

/// What became of a signal, in words.
inline std::string word(VintrelCore::Platform::Delivery delivery) {
    switch (delivery) {
    case VintrelCore::Platform::Delivery::delivered:
        return "delivered";
    case VintrelCore::Platform::Delivery::gone:
        return "gone";
    case VintrelCore::Platform::Delivery::notPermitted:
        return "not permitted";
    }
    return "?";
}

} // namespace VintrelTests
