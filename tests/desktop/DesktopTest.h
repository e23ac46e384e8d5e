#pragma once

#include "VintrelCore/log/CleanEvent.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"
#include "tests/desktop/Screen.h"
#include "tests/desktop/ScreenReader.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace VintrelTests {

/// A test of the program itself, on a screen, a session bus and an accessibility bus of its own, with folders
/// of its own. What it shows is read as a screen reader reads it; what it is told comes from the mouse and
/// the keyboard. It sees only the processes that the test started.
class DesktopTest : public AppTest {
public:
    DesktopTest();

    /// A project in the home folder: a repository with nothing in it.
    [[nodiscard]] std::filesystem::path project(const std::string& name) const;

    /// Starts the program and waits until its first scan is over. The strays must be old enough by then, and
    /// the settings written.
    [[nodiscard]] bool start(const std::string& containerEngine = {});

    [[nodiscard]] const Process& program() const { return *m_program; }

    /// Waits until the program has ended: its exit status. Absent when it does not end.
    [[nodiscard]] std::optional<int> exitStatus();

    // What it shows.
    [[nodiscard]] Controls controls() { return m_reader.controls(); }

    [[nodiscard]] std::optional<Control> focused() { return m_reader.focused(); }

    /// The first such control that can be seen right now.
    [[nodiscard]] std::optional<Control> find(const Which& which);
    /// The same, as soon as there is one. Absent when there is none for long.
    [[nodiscard]] std::optional<Control> await(const Which& which);
    /// Waits until there is no such control; whether that comes.
    [[nodiscard]] bool awaitGone(const Which& which);
    /// Waits until such a control has the keyboard; whether that comes.
    [[nodiscard]] bool awaitFocus(const Which& which);

    // What it is told.
    void click(const Control& control) const { m_screen.click(control.x, control.y); }

    void press(const std::string& keys) const { m_screen.press(keys); }

    void type(const std::string& text) const { m_screen.type(text); }

    /// Presses the key until such a control has the keyboard; whether one comes to have it.
    [[nodiscard]] bool moveTo(const Which& which, const std::string& key = "Tab");

    // What it leaves behind.
    /// The settings as they stand on disk.
    [[nodiscard]] std::string storedSettings() const;
    /// The clean log as it stands on disk.
    [[nodiscard]] std::vector<VintrelCore::CleanEvent> storedEvents() const;

private:
    [[nodiscard]] std::map<std::string, std::string> makeEnvironment() const;

    ScopedEnvironment m_noWayland{"WAYLAND_DISPLAY", std::nullopt};
    ScopedEnvironment m_noDesktopName{"XDG_CURRENT_DESKTOP", std::nullopt};
    TemporaryFolder m_folder;
    SessionBus m_bus;
    Screen m_screen;
    std::map<std::string, std::string> m_environment = makeEnvironment();
    ScreenReader m_reader;
    std::optional<Process> m_program;
};

} // namespace VintrelTests
