#pragma once

#include "tests/support/Process.h"

#include <cstdlib>
#include <functional>
#include <stdexcept>

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>

namespace VintrelTests {

/// Runs `work` in a child that is killed just before it makes its call of the system with this number, from
/// 1. False when it came to its end before that.
inline bool killedBeforeCall(int number, const std::function<int()>& work) {
    const pid_t pid = forked();
    if (pid == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        std::_Exit(work());
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFSTOPPED(status) ||
        ::ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD) != 0) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, &status, 0);
        throw std::runtime_error("the child cannot be watched");
    }
    // It stops at the beginning and at the end of each call.
    constexpr int stopAtCall = SIGTRAP | 0x80;
    for (int stops = 0; stops < 2 * number - 1;) {
        ::ptrace(PTRACE_SYSCALL, pid, nullptr, nullptr);
        ::waitpid(pid, &status, 0);
        if (!WIFSTOPPED(status)) {
            return false;
        }
        stops += WSTOPSIG(status) == stopAtCall ? 1 : 0;
    }
    ::kill(pid, SIGKILL);
    ::waitpid(pid, &status, 0);
    return true;
}

} // namespace VintrelTests
