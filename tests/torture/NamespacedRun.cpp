#include "tests/torture/NamespacedRun.h"

#include "tests/support/Process.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

namespace {

/// Ends this process when the one that forked it goes.
void endWithParent() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

/// In the first process of the new namespace, whose end ends all others: sees to /proc, lets a child work,
/// and looks after orphans meanwhile.
void beTheFirstProcess(const std::function<Figures()>& work, int figures) {
    endWithParent();
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("proc", "/proc", "proc", 0, nullptr) != 0) {
        ::_exit(1);
    }
    const pid_t worker = forked();
    if (worker == 0) {
        const Figures found = work();
        ::_exit(::write(figures, &found, sizeof found) == ssize_t{sizeof found} ? 0 : 1);
    }
    for (pid_t ended = 0; ended >= 0 && ended != worker;) {
        ended = ::wait(nullptr);
    }
    ::_exit(0);
}

void enterNamespaces(const std::function<Figures()>& work, int figures) {
    endWithParent();
    if (::unshare(CLONE_NEWPID | CLONE_NEWNS) != 0) {
        ::_exit(1);
    }
    const pid_t first = forked();
    if (first == 0) {
        beTheFirstProcess(work, figures);
    }
    ::waitpid(first, nullptr, 0);
    ::_exit(0);
}

} // namespace

Figures& Figures::operator+=(const Figures& other) {
    recycled += other.recycled;
    notRecycled += other.notRecycled;
    strangersSignalled += other.strangersSignalled;
    others += other.others;
    othersEnded += other.othersEnded;
    wrongOutcomes += other.wrongOutcomes;
    shortestWait = isPrepared ? std::min(shortestWait, other.shortestWait) : other.shortestWait;
    isPrepared = other.isPrepared;
    return *this;
}

NamespacedRun::NamespacedRun(const std::function<Figures()>& work) {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_figures = VintrelCore::FileDescriptor(ends[0]);
    const VintrelCore::FileDescriptor writing(ends[1]);
    m_pid = forked();
    if (m_pid == 0) {
        enterNamespaces(work, writing.get());
    }
}

NamespacedRun::NamespacedRun(NamespacedRun&& other) noexcept
    : m_pid(std::exchange(other.m_pid, 0)), m_figures(std::move(other.m_figures)) {}

NamespacedRun::~NamespacedRun() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

Figures NamespacedRun::wait() {
    Figures figures;
    const bool told = ::read(m_figures.get(), &figures, sizeof figures) == ssize_t{sizeof figures};
    ::waitpid(std::exchange(m_pid, 0), nullptr, 0);
    return told ? figures : Figures();
}

std::string NamespacedRun::whyNot() {
    if (::geteuid() != 0) {
        return "needs root";
    }
    NamespacedRun attempt([] { return Figures{.isPrepared = true}; });
    return attempt.wait().isPrepared ? "" : "needs namespaces of pids and mounts";
}

} // namespace VintrelTests
