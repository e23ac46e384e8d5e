#pragma once

#include "tests/support/Process.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace VintrelTests {

struct StrayOptions {
    /// The command line that ps will show. Behind "--below" stands that of a child of the process before it,
    /// behind "--worker" that of one which ends with it.
    std::vector<std::string> argv;
    std::filesystem::path cwd = "/";
    int port = 0;               ///< a port of 127.0.0.1 to listen on; 0 for none
    bool adopter = false;       ///< adopted by a stand-in for the user's service manager, not by process 1
    bool leader = false;        ///< it leads a session of its own
    bool zombie = false;        ///< it has ended, and its adopter does not look after it
    bool ignoresTerm = false;   ///< it does not end when it is asked to
    bool hostsTerminal = false; ///< it holds a terminal's other side, as a terminal's window does
    /// Its folder cannot be told by a program that may not look into every process.
    bool secretive = false;
    std::string terminal{}; ///< "open" or "closed": it had a terminal
    /// What it runs, made when it is missing; "" for the helper itself.
    std::filesystem::path program{};
};

/// A real process that looks like a developer tool which was left running. It ends with the object.
class Stray {
public:
    explicit Stray(const StrayOptions& options);

    [[nodiscard]] int32_t pid() const { return m_tree.front().pid(); }

    /// Its own and those of the processes below it, from the top.
    [[nodiscard]] std::vector<int32_t> pids() const;

private:
    Process m_starter; // keeps the adopter and the terminal
    std::vector<Ended> m_tree;
};

/// A port of 127.0.0.1 that nobody listens on just now.
int freePort();

/// A known development port that nobody listens on just now.
int freeRegisteredPort();

/// Waits until every stray is a second old: ps counts whole ones, and at 0 none is older than any threshold.
void letStraysAge();

} // namespace VintrelTests
