#pragma once

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/model/ProcStartTime.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace VintrelTests {

struct ProcessOptions {
    std::vector<std::string> argv; ///< the program's path first
    std::filesystem::path cwd{};
    std::map<std::string, std::string> environment{}; ///< added to this process's own
    bool newSession = false;                          ///< without a terminal
    std::filesystem::path output{}; ///< a file for standard output and error; else a pipe for output
};

/// A child process that a test started. Ended and reaped at the latest when the object goes.
class Process {
public:
    explicit Process(const ProcessOptions& options);
    Process(Process&& other) noexcept;
    Process& operator=(Process&&) = delete;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    [[nodiscard]] int32_t pid() const { return m_pid; }

    /// The next line of its output; "" at the end.
    std::string readLine();

    /// The rest of its output.
    std::string readAll();

    void closeInput() { m_input.close(); }

    void signal(int number) const;

    /// Waits for its end: the exit status, or minus the number of the signal that ended it.
    int wait();

private:
    int32_t m_pid = 0;
    VintrelCore::FileDescriptor m_input;
    VintrelCore::FileDescriptor m_output;
};

/// Ends a process that a test started and that is no child of it any more; one that has got its number since
/// is left alone.
class Ended {
public:
    explicit Ended(int32_t pid);
    Ended(Ended&& other) noexcept;
    Ended& operator=(Ended&&) = delete;
    Ended(const Ended&) = delete;
    Ended& operator=(const Ended&) = delete;
    ~Ended();

    [[nodiscard]] int32_t pid() const { return m_pid; }

private:
    int32_t m_pid;
    std::optional<VintrelCore::ProcStartTime> m_start;
};

/// As fork does it, but a failure throws: -1 must never be taken for the pid of a child and signalled, as it
/// means everybody.
int32_t forked();

/// Whether there is such a process, and it has not ended: not even as a zombie, which an orphan stays until
/// process 1 gets to it.
bool isRunning(int32_t pid);

/// Waits up to ten seconds until `condition` holds; whether it does.
bool eventually(const std::function<bool()>& condition,
                std::chrono::milliseconds patience = std::chrono::seconds(10));

} // namespace VintrelTests
