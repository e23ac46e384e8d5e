#include "tests/torture/Recycling.h"

#include "tests/support/Process.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

using namespace VintrelCore;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using KillCore::Moment;

namespace {

// How a stranger ends: it tells by its exit status what it got. One that was forced tells nothing any more.
constexpr int untouched = 7;
constexpr int signalled = 8;

struct Victim {
    VictimPlan plan;
    pid_t pid = 0;
    std::optional<ProcStartTime> start{};
    bool isRecycled = false; ///< the number is a stranger's, and this process's child
};

class Batch {
public:
    explicit Batch(const BatchPlan& plan) : m_plan(plan) {
        if (::pipe2(m_end.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        for (const VictimPlan& victim : plan.victims) {
            m_victims.push_back(makeVictim(victim));
        }
        if (plan.isAged) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
        }
    }

    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    ~Batch() {
        ::close(m_end[0]);
        ::close(m_end[1]);
    }

    Figures run();

private:
    [[nodiscard]] Victim makeVictim(const VictimPlan& plan) const;
    void recycle(Victim& victim);
    [[noreturn]] void beAStranger() const;
    [[nodiscard]] std::vector<KillResult> endAll();
    [[nodiscard]] std::vector<KillResult> endAllCarelessly(int signal);
    [[nodiscard]] std::vector<KillResult> endAllFromAnotherProcess();
    void judgeStranger(const Victim& victim);
    void judgeOther(const Victim& victim);
    void judgeResult(const Victim& victim, const KillResult& result);

    BatchPlan m_plan;
    std::chrono::milliseconds m_patience{m_plan.careless ? 10 : 5'000}; // with a process that is to end
    std::vector<Victim> m_victims;
    std::array<int, 2> m_end{-1, -1}; // the end of this pipe ends the strangers
    Figures m_figures{.isPrepared = true};
};

Victim Batch::makeVictim(const VictimPlan& plan) const {
    // Inherited, so that a signal that comes at once finds it in place.
    const auto before = ::signal(SIGTERM, plan.ignoresSIGTERM ? SIG_IGN : SIG_DFL);
    const pid_t pid = forked();
    if (pid == 0) {
        ::close(m_end[1]);
        for (;;) {
            ::pause();
        }
    }
    ::signal(SIGTERM, before);
    return {
        .plan = plan, .pid = pid, .start = plan.hasRecordedStart ? KillCore::startTime(pid) : std::nullopt};
}

void Batch::beAStranger() const {
    ::close(m_end[1]);
    char byte = 0;
    while (::read(m_end[0], &byte, 1) != 0) {
    }
    sigset_t waiting;
    ::sigemptyset(&waiting);
    ::sigpending(&waiting);
    ::_exit(::sigisemptyset(&waiting) != 0 ? untouched : signalled);
}

/// Ends a victim as if by itself, and gives its number to a stranger.
void Batch::recycle(Victim& victim) {
    ::kill(victim.pid, SIGKILL);
    ::waitpid(victim.pid, nullptr, 0);
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, &before); // whatever the stranger gets from its first moment on is kept
    const std::string last = std::to_string(victim.pid - 1);
    const FileDescriptor next(::open("/proc/sys/kernel/ns_last_pid", O_WRONLY | O_CLOEXEC));
    const bool isSet = ::write(next.get(), last.data(), last.size()) == std::ssize(last);
    const pid_t stranger = forked();
    if (stranger == 0) {
        beAStranger();
    }
    ::sigprocmask(SIG_SETMASK, &before, nullptr);
    victim.isRecycled = isSet && stranger == victim.pid;
    if (!victim.isRecycled) {
        ::kill(stranger, SIGKILL);
        ::waitpid(stranger, nullptr, 0);
    }
}

std::vector<KillResult> Batch::endAllCarelessly(int signal) {
    for (Victim& victim : m_victims) {
        if (victim.plan.recycledAt) {
            recycle(victim);
        }
        ::kill(victim.pid, signal);
    }
    return std::vector<KillResult>(m_victims.size());
}

std::vector<KillResult> Batch::endAll() {
    if (m_plan.careless) {
        return endAllCarelessly(*m_plan.careless);
    }
    std::vector<ProcessItem> items;
    for (const Victim& victim : m_victims) {
        items.push_back({.pid = victim.pid, .startTime = victim.start});
    }
    KillCore::World world;
    world.gracePeriod = m_plan.gracePeriod;
    world.client = [] { return std::nullopt; };
    if (m_plan.recycledAfter == 0) {
        world.at = [this](Moment moment, int32_t pid) {
            const auto victim = std::ranges::find(m_victims, pid, &Victim::pid);
            if (victim != m_victims.end() && victim->plan.recycledAt == moment && !victim->isRecycled) {
                recycle(*victim);
            }
        };
    }
    return KillCore::killAll(items, {}, world);
}

/// The batch is ended by a child, which cannot know what happens here meanwhile.
std::vector<KillResult> Batch::endAllFromAnotherProcess() {
    struct Answer {
        KillOutcome outcome;
        KillDetail detail;
    };

    std::array<int, 2> answers{-1, -1};
    if (::pipe2(answers.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = forked();
    if (child == 0) {
        ::close(m_end[1]);
        for (const KillResult& result : endAll()) {
            const Answer answer{.outcome = result.outcome, .detail = result.detail};
            if (::write(answers[1], &answer, sizeof answer) != ssize_t{sizeof answer}) {
                ::_exit(1);
            }
        }
        ::_exit(0);
    }
    ::close(answers[1]);
    std::this_thread::sleep_for(std::chrono::duration<double>(m_plan.recycledAfter));
    for (Victim& victim : m_victims) {
        if (victim.plan.recycledAt) {
            recycle(victim);
        }
    }
    std::vector<KillResult> results;
    for (Answer answer{}; ::read(answers[0], &answer, sizeof answer) == ssize_t{sizeof answer};) {
        results.push_back({.outcome = answer.outcome, .detail = answer.detail});
    }
    ::close(answers[0]);
    ::waitpid(child, nullptr, 0);
    return results;
}

void Batch::judgeStranger(const Victim& victim) {
    int status = 0;
    ::waitpid(victim.pid, &status, 0);
    const bool lived = WIFEXITED(status) && WEXITSTATUS(status) == untouched;
    ++m_figures.recycled;
    m_figures.strangersSignalled += lived ? 0 : 1;
}

void Batch::judgeOther(const Victim& victim) {
    ++m_figures.others;
    int status = 0;
    const auto patience = std::chrono::steady_clock::now() + m_patience;
    pid_t ended = 0;
    while ((ended = ::waitpid(victim.pid, &status, WNOHANG)) == 0 &&
           std::chrono::steady_clock::now() < patience) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (ended == 0) { // it runs on
        ::kill(victim.pid, SIGKILL);
        ::waitpid(victim.pid, nullptr, 0);
        return;
    }
    // One that ignores SIGTERM shows that it was forced.
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    const bool right = signal == SIGKILL || (signal == SIGTERM && !victim.plan.ignoresSIGTERM);
    m_figures.othersEnded += right ? 1 : 0;
}

void Batch::judgeResult(const Victim& victim, const KillResult& result) {
    const bool isSignalledFirst = !victim.plan.recycledAt || victim.plan.recycledAt == Moment::duringGrace;
    const bool wasConfirmed = result.outcome == KillOutcome::confirmed;
    // One that ended just before the signal, and was not seen to, may count as either.
    const bool mayBeEither = victim.plan.recycledAt == Moment::afterComparison ||
                             (victim.plan.recycledAt == Moment::afterOpening && !m_plan.isAged);
    const bool isRight = mayBeEither || wasConfirmed == isSignalledFirst;
    const bool isEnd = result.detail != KillDetail::stillThere && result.detail != KillDetail::refused &&
                       result.detail != KillDetail::notPermitted && result.left.empty();
    m_figures.wrongOutcomes += isRight && isEnd ? 0 : 1;
}

Figures Batch::run() {
    const auto begin = std::chrono::steady_clock::now();
    const auto results = m_plan.recycledAfter > 0 ? endAllFromAnotherProcess() : endAll();
    m_figures.shortestWait = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    if (results.size() != m_victims.size()) {
        return {}; // whoever ended them came to no end itself
    }
    for (const Victim& victim : m_victims) {
        if (!victim.plan.recycledAt) {
            judgeOther(victim);
        }
    }
    ::close(std::exchange(m_end[1], -1));
    for (size_t index = 0; index < m_victims.size(); ++index) {
        const Victim& victim = m_victims[index];
        if (victim.isRecycled) {
            judgeStranger(victim);
        } else if (victim.plan.recycledAt) {
            ++m_figures.notRecycled;
        }
        judgeResult(victim, results[index]);
    }
    return m_figures;
}

} // namespace

Figures runBatch(const BatchPlan& plan) {
    return Batch(plan).run();
}

} // namespace VintrelTests
