#pragma once

#include <array>

#include <signal.h>

/// While it lives, Ctrl+C and its like (SIGINT, SIGTERM, SIGHUP) make a descriptor readable instead of ending
/// the program, so that running tools can be taken down first. The same one again ends the program at once,
/// and signals that whoever started the program told it to ignore stay ignored. One at a time.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// Gives the signals back to their former actions.
    ~Interrupt();

    /// Readable once a signal has come; negative when the system gave no descriptor, and signals act as
    /// always.
    [[nodiscard]] int descriptor() const;

    /// For the time after: if a signal came, ends the program by it, as whoever started the program expects
    /// to see.
    static void endProgramIfOneCame();

private:
    static constexpr std::array<int, 3> caught{SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, caught.size()> m_former{};
};
