#pragma once

/// Turns Ctrl+C and its like into a descriptor that becomes readable, so that running tools can be taken down
/// before the program ends. For the whole program: create one, at its start.
class Interrupt {
public:
    /// Watches SIGINT, SIGTERM and SIGHUP, except those that whoever started the program told it to ignore.
    Interrupt();

    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// Readable once a signal has come.
    [[nodiscard]] int descriptor() const;

    /// Ends the program by the signal that came, as whoever started it expects to see.
    [[noreturn]] static void endProgram();
};
