#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace VintrelTests {

/// From here on this process, and what it starts, is refused descriptors for processes (or, with
/// SYS_pidfd_send_signal, signals through them), as sandboxes (EPERM) and old kernels (ENOSYS) do. There is
/// no way back. Whether it is really refused.
inline bool refuseProcessDescriptors(int error, long call = SYS_pidfd_open) {
    const auto refusal = static_cast<uint32_t>(SECCOMP_RET_ERRNO) | static_cast<uint32_t>(error);
    std::array<sock_filter, 4> program{{
        {.code = BPF_LD | BPF_W | BPF_ABS, .jt = 0, .jf = 0, .k = offsetof(seccomp_data, nr)},
        {.code = BPF_JMP | BPF_JEQ | BPF_K, .jt = 0, .jf = 1, .k = static_cast<uint32_t>(call)},
        {.code = BPF_RET | BPF_K, .jt = 0, .jf = 0, .k = refusal},
        {.code = BPF_RET | BPF_K, .jt = 0, .jf = 0, .k = SECCOMP_RET_ALLOW},
    }};
    const sock_fprog filter{.len = program.size(), .filter = program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 &&
           ::syscall(call, ::getpid(), 0, nullptr, 0) == -1 && errno == error;
}

} // namespace VintrelTests
