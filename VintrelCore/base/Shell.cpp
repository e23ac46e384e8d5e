#include "VintrelCore/base/Shell.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelCore::Shell {

namespace {

using std::chrono::milliseconds;

/// How often a child's end is looked up where the system gives no descriptor for it.
constexpr milliseconds pollingInterval{10};

/// Also for a tool that sits in an uninterruptible call and outlives even SIGKILL: it is given up. It stays
/// this program's child, and a zombie once the call returns, until the program ends.
constexpr milliseconds patienceAfterKill{1'000};

int millisecondsUntil(Clock::time_point when, Clock::time_point now) {
    // Rounded up: waking a little early would only spin.
    return static_cast<int>(std::max<int64_t>(0, std::chrono::ceil<milliseconds>(when - now).count()));
}

} // namespace

Fault Outcome::fault() const {
    if (interrupted) {
        return Fault::none;
    }
    if (!launched) {
        return Fault::notLaunched;
    }
    if (deadlineMissed) {
        return Fault::tooSlow;
    }
    return completed() ? Fault::none : Fault::broken;
}

Run::Run(const Command& command)
    : m_child(ChildProcess::start(command.executable, command.arguments, ChildProcess::toolEnvironment(),
                                  command.isToTellErrors)),
      m_wakeAt(Clock::now() + command.deadline) {
    m_outcome.launched = m_child.has_value();
    if (!m_child) {
        m_stage = Stage::finished;
    }
}

Run::Run(Run&& other) noexcept
    : m_child(std::exchange(other.m_child, std::nullopt)),
      m_stage(std::exchange(other.m_stage, Stage::finished)),
      m_wakeAt(other.m_wakeAt),
      m_childEnded(other.m_childEnded),
      m_outcome(std::move(other.m_outcome)) {}

Run::~Run() {
    if (m_child && m_stage != Stage::finished) {
        ::kill(-m_child->pid, SIGKILL);
        const auto end = Clock::now() + patienceAfterKill;
        while (::waitpid(m_child->pid, nullptr, WNOHANG) == 0 && Clock::now() < end) {
            ::poll(nullptr, 0, static_cast<int>(pollingInterval.count()));
        }
    }
}

Outcome Run::take() {
    return std::exchange(m_outcome, {});
}

void Run::readOutput() {
    constexpr size_t chunk = size_t{64} << 10;
    while (m_child->output) {
        std::string& output = m_outcome.output;
        const size_t had = output.size();
        ssize_t count = 0;
        int error = 0;
        output.resize_and_overwrite(had + chunk, [&](char* bytes, size_t) {
            count = ::read(m_child->output.get(), bytes + had, chunk);
            error = count < 0 ? errno : 0;
            return had + static_cast<size_t>(std::max<ssize_t>(count, 0));
        });
        if (error == EAGAIN) {
            return;
        }
        m_outcome.outputTooLarge = output.size() > outputCap;
        const bool isAtEnd = count == 0 || (count < 0 && error != EINTR);
        if (isAtEnd || m_outcome.outputTooLarge) {
            m_child->output.close();
        }
    }
}

void Run::noteEndOfChild() {
    if (m_childEnded) {
        return;
    }
    // Not reaped yet: while it is a zombie, nobody else can get its number, and its group can be signalled.
    siginfo_t info{};
    const int result = ::waitid(P_PID, static_cast<id_t>(m_child->pid), &info, WEXITED | WNOHANG | WNOWAIT);
    m_childEnded = (result == 0 && info.si_pid == m_child->pid) || (result != 0 && errno == ECHILD);
}

void Run::takeDown() {
    ::kill(-m_child->pid, SIGTERM);
    m_stage = Stage::terminating;
    m_wakeAt = Clock::now() + patience;
}

void Run::actOnTime(Clock::time_point now) {
    if (now < m_wakeAt) {
        return;
    }
    switch (m_stage) {
    case Stage::running:
        m_outcome.deadlineMissed = true;
        takeDown();
        break;
    case Stage::terminating:
        ::kill(-m_child->pid, SIGKILL); // also for what the child started, when the child itself has ended
        m_stage = Stage::killed;
        m_wakeAt = m_childEnded ? now : now + patienceAfterKill;
        break;
    case Stage::draining:
    case Stage::killed:
        finish();
        break;
    case Stage::finished:
        break;
    }
}

void Run::actOnProgress(Clock::time_point now) {
    if (m_stage == Stage::running && m_outcome.outputTooLarge) {
        takeDown();
    } else if (m_stage == Stage::running && m_childEnded) {
        m_stage = Stage::draining;
        m_wakeAt = now + patience;
    }
    const bool nothingToRead = !m_child->output;
    if ((m_stage == Stage::draining && nothingToRead) || (m_stage == Stage::killed && m_childEnded)) {
        finish();
    }
}

void Run::finish() {
    int status = 0;
    if (::waitpid(m_child->pid, &status, WNOHANG) == m_child->pid && WIFEXITED(status)) {
        m_outcome.exitStatus = WEXITSTATUS(status);
    }
    if (!m_outcome.completed()) {
        m_outcome.output.resize(Text::withoutCutCharacter(m_outcome.output).size());
    }
    if (!Text::isValidUTF8(m_outcome.output)) {
        m_outcome.output.clear();
    }
    m_child.reset();
    m_stage = Stage::finished;
}

/// One poll loop over several runs.
class Loop {
public:
    Loop(std::span<Run* const> runs, const Run* until, int interrupt)
        : m_runs(runs), m_until(until), m_interrupt(interrupt) {}

    void drive() {
        while (!isDone()) {
            waitForSomething();
            const auto now = Clock::now();
            for (Run* const run : m_runs) {
                if (run->finished()) {
                    continue;
                }
                run->readOutput();
                run->noteEndOfChild();
                run->actOnProgress(now);
                run->actOnTime(now);
            }
        }
    }

private:
    [[nodiscard]] bool isDone() const {
        return m_until != nullptr ? m_until->finished() : std::ranges::all_of(m_runs, &Run::finished);
    }

    void waitForSomething() {
        m_polled.clear();
        const auto now = Clock::now();
        auto wakeAt = Clock::time_point::max();
        for (const Run* const run : m_runs) {
            if (run->finished()) {
                continue;
            }
            const ChildProcess::Child& child = *run->m_child;
            wakeAt = std::min(wakeAt, run->m_wakeAt);
            if (child.output) {
                m_polled.push_back({.fd = child.output.get(), .events = POLLIN, .revents = 0});
            }
            if (child.endOfChild && !run->m_childEnded) {
                m_polled.push_back({.fd = child.endOfChild.get(), .events = POLLIN, .revents = 0});
            } else if (!child.endOfChild) {
                wakeAt = std::min(wakeAt, now + pollingInterval);
            }
        }
        if (m_interrupt >= 0) {
            m_polled.push_back({.fd = m_interrupt, .events = POLLIN, .revents = 0});
        }
        const int ready =
            ::poll(m_polled.data(), static_cast<nfds_t>(m_polled.size()), millisecondsUntil(wakeAt, now));
        if (ready > 0 && m_interrupt >= 0 && m_polled.back().revents != 0) {
            takeAllDown();
        }
    }

    void takeAllDown() {
        m_interrupt = -1;
        m_until = nullptr; // all are ended before anything goes on
        for (Run* const run : m_runs) {
            if (run->finished()) {
                continue;
            }
            run->m_outcome.interrupted = true;
            if (run->m_stage == Run::Stage::running || run->m_stage == Run::Stage::draining) {
                run->takeDown();
            }
        }
    }

    std::span<Run* const> m_runs;
    const Run* m_until;
    int m_interrupt;
    std::vector<pollfd> m_polled;
};

void await(std::span<Run* const> runs, const Run* until, int interrupt) {
    Loop(runs, until, interrupt).drive();
}

Outcome runToOutcome(const Command& command, int interrupt) {
    pollfd interruption{.fd = interrupt, .events = POLLIN, .revents = 0};
    if (interrupt >= 0 && ::poll(&interruption, 1, 0) > 0) {
        return {.interrupted = true};
    }
    Run run(command);
    Run* const runs[] = {&run};
    await(runs, nullptr, interrupt);
    return run.take();
}

Result run(const std::string& executable, const std::vector<std::string>& arguments, milliseconds deadline) {
    Outcome outcome = runToOutcome({.executable = executable, .arguments = arguments, .deadline = deadline});
    const bool ok = outcome.ok();
    return {.output = std::move(outcome.output), .ok = ok};
}

} // namespace VintrelCore::Shell
