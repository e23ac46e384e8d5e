#include "tests/core/terminate/Subject.h"

#include "VintrelCore/platform/Platform.h"
#include "tests/support/Process.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ostream>
#include <span>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

using namespace VintrelCore;

namespace {

// In the child; a signal's handler can be told in no other way.
int notesOfThisProcess = -1;
OnSIGTERM behaviourOfThisProcess = OnSIGTERM::dies;

void note(int signal) {
    const char byte = static_cast<char>(signal);
    if (::write(notesOfThisProcess, &byte, 1) != 1) {
        ::_exit(99);
    }
    if (signal == SIGTERM && behaviourOfThisProcess != OnSIGTERM::stays) {
        if (behaviourOfThisProcess == OnSIGTERM::leavesInAWhile) {
            const timespec aWhile{.tv_sec = 0, .tv_nsec = 200'000'000};
            ::nanosleep(&aWhile, nullptr);
        }
        ::_exit(0);
    }
}

std::array<FileDescriptor, 2> makePipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

} // namespace

void Subject::live(OnSIGTERM behaviour, int notes) {
    // Whoever holds somebody else's pipe open keeps its end from being seen.
    if (notes > 3) {
        ::close_range(3, static_cast<unsigned>(notes) - 1, 0);
    }
    ::close_range(static_cast<unsigned>(notes) + 1, ~0U, 0);
    notesOfThisProcess = notes;
    behaviourOfThisProcess = behaviour;
    struct sigaction action{};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;
    ::sigfillset(&action.sa_mask); // one after the other, so that the notes have an order
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGCONT,
                             SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH, SIGRTMAX}) {
        if (signal != SIGTERM || behaviour != OnSIGTERM::dies) {
            ::sigaction(signal, &action, nullptr);
        }
    }
    note(0);
    for (;;) {
        ::pause();
    }
}

Subject::Subject(OnSIGTERM behaviour, const std::function<void()>& first) {
    auto notes = makePipe();
    m_pid = forked();
    if (m_pid == 0) {
        if (first) {
            first();
        }
        live(behaviour, notes[1].get());
    }
    m_notes = std::move(notes[0]);
    notes[1].close();
    char ready = 1;
    if (m_pid < 0 || ::read(m_notes.get(), &ready, 1) != 1 || ready != 0) {
        throw std::runtime_error("no child");
    }
}

Subject::~Subject() {
    vanish();
}

ProcessItem Subject::item() const {
    return {.pid = m_pid, .command = "subject", .startTime = Platform::startTime(m_pid)};
}

FoldedProcess Subject::folded() const {
    return {.pid = m_pid, .startTime = Platform::startTime(m_pid)};
}

std::vector<int> Subject::noted() {
    if (!m_isReaped) {
        ::kill(m_pid, SIGRTMAX); // handled after all that came before: what waits has a lower number
    }
    for (char byte = 0; ::read(m_notes.get(), &byte, 1) == 1 && byte != SIGRTMAX;) {
        m_noted.push_back(byte);
    }
    return m_noted;
}

bool Subject::isAlive() const {
    siginfo_t info{};
    return !m_isReaped &&
           ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT | WNOHANG) == 0 &&
           info.si_pid == 0;
}

void Subject::stop() const {
    ::kill(m_pid, SIGSTOP);
    siginfo_t info{};
    ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WSTOPPED | WNOWAIT);
}

bool Subject::isStopped() const {
    const auto facts = Platform::kernelView().factsOf(m_pid);
    return facts && facts->state == 'T';
}

void Subject::becomeZombie() const {
    ::kill(m_pid, SIGKILL);
    siginfo_t info{};
    ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT);
}

void Subject::vanish() {
    if (!m_isReaped) {
        ::kill(m_pid, SIGKILL);
        wait();
    }
}

int Subject::wait() {
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_isReaped = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string inChild(const std::function<std::string()>& work) {
    auto answer = makePipe();
    const pid_t child = forked();
    if (child == 0) {
        const std::string text = work();
        const bool told = ::write(answer[1].get(), text.data(), text.size()) == std::ssize(text);
        ::_exit(told ? 0 : 1);
    }
    answer[1].close();
    std::string text;
    for (char byte = 0; ::read(answer[0].get(), &byte, 1) == 1;) {
        text += byte;
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0 ? text : "";
}

std::string asStranger(const std::function<std::string()>& work) {
    return inChild([&work]() -> std::string {
        constexpr uid_t nobodyElse = 54'321;
        if (::setpgid(0, 0) != 0 || ::setgroups(0, nullptr) != 0 ||
            ::setresgid(nobodyElse, nobodyElse, nobodyElse) != 0 ||
            ::setresuid(nobodyElse, nobodyElse, nobodyElse) != 0) {
            return "could not become another user";
        }
        return work();
    });
}

double secondsOf(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

KillCore::KillResult endOne(const ProcessItem& item, const KillCore::World& world,
                            const DockerCore::OwnerMap& owners) {
    return KillCore::killAll(std::span(&item, 1), owners, world).at(0);
}

KillCore::World shortWait(double seconds) {
    KillCore::World world;
    world.gracePeriod = seconds;
    world.client = [] { return std::nullopt; };
    return world;
}

std::string describe(const KillCore::KillResult& result) {
    constexpr std::array details{
        "containerStopped", "containerStopping", "engineNotAnswering", "ended",   "stillThere",
        "alreadyGone",      "notTheSame",        "notPermitted",       "refused", "interrupted"};
    std::string text = result.outcome == KillCore::KillOutcome::confirmed ? "confirmed, " : "notKilled, ";
    text += details.at(static_cast<size_t>(result.detail));
    auto left = result.left;
    std::ranges::sort(left);
    for (size_t index = 0; index < left.size(); ++index) {
        text += (index == 0 ? ", left " : " ") + std::to_string(left[index]);
    }
    return text;
}

} // namespace VintrelTests

namespace VintrelCore::KillCore {

void PrintTo(const KillResult& result, std::ostream* out) {
    *out << VintrelTests::describe(result);
}

} // namespace VintrelCore::KillCore
