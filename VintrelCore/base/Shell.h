#pragma once

#include "VintrelCore/base/ChildProcess.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Runs system tools, each as a child process of its own, with a deadline. No shell and no search of PATH is
/// involved.
///
/// `run` is the whole of it for one tool. To overlap several, start a `Run` for each and `await` them
/// together: one poll loop drives all, without threads. No state is shared between runs; different threads
/// may have their own.
namespace VintrelCore::Shell {

using Clock = std::chrono::steady_clock;

/// For tools whose caller sets no other bound.
inline constexpr std::chrono::milliseconds defaultDeadline{30'000};

/// Output past this ends the tool.
inline constexpr size_t outputCap = size_t{64} << 20;

/// How long a tool has between the polite signal and the forced one, and how long output is awaited after its
/// end.
inline constexpr std::chrono::milliseconds patience{200};

struct Command {
    std::string executable; ///< an absolute path
    std::vector<std::string> arguments{};
    std::chrono::milliseconds deadline = defaultDeadline;
    bool isToTellErrors = false; ///< what it writes to its standard error joins the output
};

/// Why what a tool had to say is missing.
enum class Fault {
    none,
    notLaunched, ///< there is no such program
    tooSlow,     ///< it missed its deadline
    broken,      ///< it was ended by a signal, or wrote too much
};

/// What became of a tool.
struct Outcome {
    std::string output;    ///< its standard output, as far as it was read; "" when that is not valid UTF-8
    bool launched = false; ///< false for a missing or non-executable file
    bool deadlineMissed = false; ///< it was ended because it took too long
    bool outputTooLarge = false; ///< it was ended because it wrote more than the cap
    bool interrupted = false;    ///< it was ended because the caller's interrupt came
    std::optional<int>
        exitStatus; ///< absent when it did not exit by itself (not launched, ended by a signal)

    /// It ran to its own end, with whatever exit status.
    [[nodiscard]] bool completed() const {
        return exitStatus && !deadlineMissed && !outputTooLarge && !interrupted;
    }

    /// None when it ran to its own end, and when the caller stopped it.
    [[nodiscard]] Fault fault() const;

    /// It ran to its own end with exit status 0.
    [[nodiscard]] bool ok() const { return completed() && *exitStatus == 0; }
};

/// One tool under way. Must be driven by `await` until it is finished; destroyed earlier, it takes the tool
/// down.
class Run {
public:
    /// Starts the tool at once.
    explicit Run(const Command& command);
    Run(Run&&) noexcept;
    Run& operator=(Run&&) = delete;
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run();

    [[nodiscard]] bool finished() const { return m_stage == Stage::finished; }

    /// The outcome of a finished run; it can be taken once.
    [[nodiscard]] Outcome take();

private:
    friend class Loop;

    enum class Stage {
        running,     // reading, and waiting for the end
        draining,    // the child has ended; somebody else may still hold the pipe
        terminating, // SIGTERM was sent to the group
        killed,      // SIGKILL was sent to the group
        finished,
    };

    void readOutput();
    void noteEndOfChild();
    void takeDown();
    void actOnTime(Clock::time_point now);
    void actOnProgress(Clock::time_point now);
    void finish();

    std::optional<ChildProcess::Child> m_child;
    Stage m_stage = Stage::running;
    Clock::time_point m_wakeAt; // when the current stage ends, unless something happens earlier
    bool m_childEnded = false;
    Outcome m_outcome;
};

/// Drives all of `runs` until `until` is finished or, without one, until all are. When the descriptor
/// `interrupt` (if not negative) becomes readable, the tools of all runs are taken down and their outcomes
/// say so.
void await(std::span<Run* const> runs, const Run* until = nullptr, int interrupt = -1);

struct Result {
    std::string output;
    bool ok = false; ///< the tool was launched, met its deadline and exited with status 0
};

/// Runs a tool to its end; blocks the caller for `deadline` plus a second at the most.
[[nodiscard]] Result run(const std::string& executable, const std::vector<std::string>& arguments,
                         std::chrono::milliseconds deadline = defaultDeadline);

/// The same, with all that is known about how it ended. After the interrupt, nothing is started.
[[nodiscard]] Outcome runToOutcome(const Command& command, int interrupt = -1);

} // namespace VintrelCore::Shell
