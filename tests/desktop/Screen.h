#pragma once

#include "VintrelCore/base/FileLock.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <initializer_list>
#include <optional>
#include <string>

namespace VintrelTests {

/// A real screen that nobody sees, with a window manager that gives new windows the keyboard, a mouse and a
/// keyboard. All of it ends with the object.
class Screen {
public:
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    /// What DISPLAY has to be for a program on it.
    [[nodiscard]] const std::string& display() const { return m_display; }

    /// Presses and releases a button of the mouse there.
    void click(int x, int y, int button = 1) const;

    /// Moves the mouse there.
    void point(int x, int y) const;

    /// Presses a key, or several at once, and releases them: "Tab", "ctrl+f".
    void press(const std::string& keys) const;

    /// Types a text, letter by letter.
    void type(const std::string& text) const;

private:
    void takeNumber();
    void simulate(std::initializer_list<std::string> words) const;

    TemporaryFolder m_folder;
    std::optional<VintrelCore::FileLock> m_number;
    std::optional<Process> m_server;
    std::optional<Process> m_windowManager;
    std::string m_display;
};

} // namespace VintrelTests
