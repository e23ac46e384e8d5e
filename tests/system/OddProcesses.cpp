#include "tests/system/OddProcesses.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/ProcFiles.h"
#include "tests/support/Process.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

namespace {

using VintrelCore::FileDescriptor;

[[noreturn]] void waitForEver() {
    for (;;) {
        ::pause();
    }
}

void must(bool succeeded, const char* what) {
    if (!succeeded) {
        std::perror(what);
        std::_Exit(EXIT_FAILURE);
    }
}

/// Waits until the record of a process has this state.
void awaitState(int32_t pid, char state, const std::string& what) {
    const auto hasState = [pid, state] {
        const auto record =
            VintrelCore::File::readKernelFile("/proc/" + std::to_string(pid) + "/stat", size_t{4} << 10);
        const auto stat = record ? VintrelCore::ProcFiles::parseStat(*record) : std::nullopt;
        return stat && stat->state == state;
    };
    if (!eventually(hasState)) {
        throw std::runtime_error("could not be made: " + what);
    }
}

struct Range {
    char* start = nullptr;
    char* end = nullptr;
};

/// Where the kernel takes the arguments from: fields 48 and 49 of the record.
Range argumentsInMemory() {
    const auto record = VintrelCore::File::readKernelFile("/proc/self/stat", size_t{4} << 10);
    std::string_view rest = *record;
    rest.remove_prefix(rest.rfind(')') + 1);
    Range range;
    for (int field = 3; field <= 49; ++field) {
        const auto number = VintrelCore::Text::parseInteger<int64_t>(VintrelCore::Text::takeWord(rest));
        auto* const address =
            reinterpret_cast<char*>(number.value_or(0)); // NOLINT(performance-no-int-to-ptr)
        if (field == 48) {
            range.start = address;
        } else if (field == 49) {
            range.end = address;
        }
    }
    return range;
}

} // namespace

OddProcesses::OddProcesses() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_waitingEnd = FileDescriptor(ends[0]);
    m_otherEnd = FileDescriptor(ends[1]);
}

OddProcesses::~OddProcesses() {
    for (const auto& [pid, what] : m_all) {
        ::kill(pid, SIGKILL);
    }
    for (const auto& [pid, what] : m_all) {
        ::waitpid(pid, nullptr, 0);
    }
}

std::vector<int32_t> OddProcesses::pids() const {
    std::vector<int32_t> pids;
    for (const auto& [pid, what] : m_all) {
        pids.push_back(pid);
    }
    return pids;
}

int32_t OddProcesses::add(const std::string& what, const std::function<void(int ready)>& work) {
    int ready[2] = {-1, -1};
    if (::pipe2(ready, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const FileDescriptor waiting(ready[0]);
    FileDescriptor telling(ready[1]);
    const int32_t pid = forked();
    if (pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        work(telling.get());
        std::_Exit(EXIT_FAILURE);
    }
    m_all.emplace(pid, what);
    telling.close();
    char failed = 0;
    if (::read(waiting.get(), &failed, 1) !=
        0) { // the end of the pipe says that it has become what it is to be
        throw std::runtime_error("could not be made: " + what);
    }
    return pid;
}

int32_t OddProcesses::addShell(const std::string& what, const std::string& name,
                               const std::vector<std::string>& words, const std::function<void()>& before) {
    const int32_t pid = add(what, [&](int ready) {
        ::dup2(m_waitingEnd.get(), STDIN_FILENO);
        before();
        std::vector<std::string> all{name, "-c", "read _"};
        all.insert(all.end(), words.begin(), words.end());
        std::vector<char*> argv;
        for (std::string& word : all) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        ::execv("/bin/sh", argv.data());
        static_cast<void>(::write(ready, "!", 1));
    });
    awaitState(pid, 'S', what);
    return pid;
}

int32_t OddProcesses::addCopy(const std::string& what, const std::function<void()>& become) {
    const int32_t pid = add(what, [&](int ready) {
        become();
        ::close(ready);
        waitForEver();
    });
    awaitState(pid, 'S', what);
    return pid;
}

int32_t OddProcesses::addZombie(const std::string& what, const std::function<void()>& become) {
    const int32_t pid = add(what, [&](int) {
        become();
        std::_Exit(EXIT_SUCCESS);
    });
    siginfo_t info{};
    ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
    return pid;
}

int32_t OddProcesses::addWithoutFirstThread(const std::string& what) {
    const int32_t pid = add(what, [](int ready) {
        pthread_t other{};
        const auto wait = [](void*) -> void* { waitForEver(); };
        must(::pthread_create(&other, nullptr, wait, nullptr) == 0, "thread");
        ::close(ready);
        ::syscall(SYS_exit, 0); // of this thread alone
    });
    awaitState(pid, 'Z', what);
    return pid;
}

void writeTitle(const std::string& title) {
    const Range range = argumentsInMemory();
    std::fill(range.start, range.end, '\0');
    const auto room = static_cast<size_t>(range.end - range.start);
    std::copy_n(title.data(), std::min(title.size(), room), range.start);
}

void dropArguments() {
    const Range range = argumentsInMemory();
    const auto pageSize = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    const uintptr_t first = reinterpret_cast<uintptr_t>(range.start) / pageSize * pageSize;
    const uintptr_t end = (reinterpret_cast<uintptr_t>(range.end) + pageSize - 1) / pageSize * pageSize;
    auto* const pages = reinterpret_cast<void*>(first); // NOLINT(performance-no-int-to-ptr)
    must(::munmap(pages, end - first) == 0, "no arguments");
}

size_t lengthOfArguments() {
    const Range range = argumentsInMemory();
    return static_cast<size_t>(range.end - range.start);
}

void takeTerminal() {
    must(::setsid() >= 0, "session");
    const int other = ::posix_openpt(O_RDWR | O_NOCTTY);
    must(other >= 0 && ::grantpt(other) == 0 && ::unlockpt(other) == 0, "terminal");
    const int terminal = ::open(::ptsname(other), O_RDWR); // NOLINT(concurrency-mt-unsafe): one thread
    must(terminal >= 0 && ::ioctl(terminal, TIOCSCTTY, 0) == 0, "controlling terminal");
}

void haveANetworkOfOnesOwn() {
    must(::unshare(CLONE_NEWNET) == 0, "network");
    const int any = ::socket(AF_INET, SOCK_DGRAM, 0);
    ifreq loopback{};
    std::strncpy(loopback.ifr_name, "lo", sizeof loopback.ifr_name - 1);
    loopback.ifr_flags = IFF_UP;
    must(::ioctl(any, SIOCSIFFLAGS, &loopback) == 0, "loopback");
    ::close(any);
}

void listenOn(int port, int family) {
    const int listener = ::socket(family, SOCK_STREAM, 0);
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_storage address{};
    socklen_t size = sizeof(sockaddr_in);
    if (family == AF_INET6) {
        ::setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &yes, sizeof yes);
        auto& sixth = reinterpret_cast<sockaddr_in6&>(address);
        sixth.sin6_family = AF_INET6;
        sixth.sin6_port = htons(static_cast<uint16_t>(port));
        size = sizeof sixth;
    } else {
        auto& fourth = reinterpret_cast<sockaddr_in&>(address);
        fourth.sin_family = AF_INET;
        fourth.sin_port = htons(static_cast<uint16_t>(port));
    }
    must(::bind(listener, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
             ::listen(listener, 1) == 0,
         "listen");
}

} // namespace VintrelTests
