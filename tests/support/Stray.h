#pragma once

#include "tests/support/Process.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace VintrelTests {

struct StrayOptions {
    std::vector<std::string> argv; ///< the command line that ps will show
    std::filesystem::path cwd = "/";
    int port = 0;               ///< a port of 127.0.0.1 to listen on; 0 for none
    bool adopter = false;       ///< adopted by a stand-in for the user's service manager, not by process 1
    bool leader = false;        ///< it leads a session of its own
    bool zombie = false;        ///< it has ended, and its adopter does not look after it
    bool ignoresTerm = false;   ///< it does not end when it is asked to
    bool hostsTerminal = false; ///< it holds a terminal's other side, as a terminal's window does
    std::string terminal{};     ///< "open" or "closed": it had a terminal
    /// What it runs, made when it is missing; "" for the helper itself.
    std::filesystem::path program{};
};

/// A real process that looks like a developer tool which was left running. It ends with the object.
class Stray {
public:
    explicit Stray(const StrayOptions& options);

    [[nodiscard]] int32_t pid() const { return m_stray->pid(); }

private:
    Process m_starter; // keeps the adopter and the terminal
    std::optional<Ended> m_stray;
};

/// A port of 127.0.0.1 that nobody listens on just now.
int freePort();

/// A known development port that nobody listens on just now.
int freeRegisteredPort();

/// Waits until every stray is a second old: ps counts whole ones, and at 0 none is older than any threshold.
void letStraysAge();

} // namespace VintrelTests
