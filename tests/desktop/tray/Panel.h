#pragma once

#include "tests/app/support/SessionBus.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <map>
#include <optional>
#include <string>

namespace VintrelTests {

/// Panels with trays.
enum class PanelKind {
    xfce,   ///< xfce4-panel, at the top: knows items on the bus, and those of X11
    lxqt,   ///< lxqt-panel, at the bottom: items on the bus alone
    trayer, ///< trayer, at the bottom: those of X11 alone
    waybar, ///< waybar, at the top, under Wayland: items on the bus alone
};

/// A real panel that may be started, ended and started again.
class Panel {
public:
    /// The environment has to name a screen and the bus.
    Panel(PanelKind kind, SessionBus& bus, std::map<std::string, std::string> environment);

    /// Starts it, and waits until its tray shows icons.
    void start();

    /// Ends it from one moment to the next.
    void crash();

private:
    [[nodiscard]] std::vector<std::string> command() const;
    [[nodiscard]] bool isReady() const;

    PanelKind m_kind;
    SessionBus& m_bus;
    TemporaryFolder m_folder;
    std::map<std::string, std::string> m_environment;
    std::optional<Process> m_process;
};

} // namespace VintrelTests
