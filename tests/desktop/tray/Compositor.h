#pragma once

#include "tests/desktop/Screen.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <string>

#include <QRect>

namespace VintrelTests {

/// A Wayland compositor in a window of a screen, until the end of the scope.
class Compositor {
public:
    explicit Compositor(const Screen& screen);

    /// What WAYLAND_DISPLAY has to be for a program in it.
    [[nodiscard]] std::string display() const;

    struct Window {
        QRect place; ///< in the compositor's own coordinates
        bool isFloating = false;
    };

    /// The window of that application; absent when it shows none.
    [[nodiscard]] std::optional<Window> window(const std::string& application) const;

private:
    [[nodiscard]] std::string socket(const std::string& prefix) const;

    TemporaryFolder m_folder;
    std::optional<Process> m_process;
};

} // namespace VintrelTests
