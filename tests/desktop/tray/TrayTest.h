#pragma once

#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"
#include "tests/desktop/Screen.h"
#include "tests/desktop/tray/Compositor.h"
#include "tests/desktop/tray/Panel.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/Stray.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QRect>

namespace VintrelTests {

/// Some panels make three clicks of a double one.
inline constexpr std::chrono::milliseconds noDoubleClick{600};

/// A test of the program in the tray of a real panel, with real clicks. There is one stray, so that the icon
/// has a badge, by which it is found on the screen.
class TrayTest : public AppTest, public testing::WithParamInterface<PanelKind> {
public:
    TrayTest();

    /// Whether windows are where the compositor wants them.
    [[nodiscard]] static bool isWayland() { return GetParam() == PanelKind::waybar; }

    [[nodiscard]] Panel& panel() { return *m_panel; }

    [[nodiscard]] const Screen& screen() const { return m_screen; }

    [[nodiscard]] SessionBus& bus() { return m_bus; }

    /// Starts the program; unless told otherwise, as at login.
    void start(std::vector<std::string> arguments = {"--service"});

    /// Starts the panel and the program: where the icon's badge is. Absent when it does not come.
    [[nodiscard]] std::optional<QRect> startInPanel();

    /// Starts it once more, with these arguments: the exit status. Absent when it does not end.
    [[nodiscard]] std::optional<int> startAgain(const std::vector<std::string>& arguments = {}) const;

    /// The desktop's settings, as they are to be when the program starts.
    void startPortal(const std::vector<std::string>& arguments);

    /// One more to find.
    void addStray();

    /// Where the icon's badge is, as soon as it is there and stays. Absent when it does not come.
    [[nodiscard]] std::optional<QRect> awaitBadge() const;
    [[nodiscard]] bool awaitNoBadge() const;

    /// Where the popover is, as soon as it is there. Absent when it does not come.
    [[nodiscard]] std::optional<QRect> awaitPopover() const;
    [[nodiscard]] bool awaitNoPopover() const;

    /// In the compositor there is one.
    [[nodiscard]] std::optional<Compositor::Window> compositorWindow() const;

    void click(const QRect& badge, int button = 1) const;

    /// Waits until the program has ended: its exit status. Absent when it does not end.
    [[nodiscard]] std::optional<int> exitStatus();

    /// Whether the window stands right above or below the icon.
    [[nodiscard]] static bool isBeside(const QRect& window, const QRect& icon);

    [[nodiscard]] bool isProgramRunning() const { return isRunning(m_program->pid()); }

private:
    [[nodiscard]] std::map<std::string, std::string> makeEnvironment() const;
    [[nodiscard]] std::optional<QRect> badge() const;
    [[nodiscard]] std::optional<QRect> popover() const;

    ScopedEnvironment m_noWayland{"WAYLAND_DISPLAY", std::nullopt};
    ScopedEnvironment m_noDesktopName{"XDG_CURRENT_DESKTOP", std::nullopt};
    TemporaryFolder m_folder;
    SessionBus m_bus;
    Screen m_screen;
    std::optional<Compositor> m_compositor; // under Wayland
    std::map<std::string, std::string> m_environment;
    std::optional<Panel> m_panel;
    std::vector<std::unique_ptr<Stray>> m_strays;
    std::optional<Process> m_portal;
    std::optional<Process> m_program;
};

} // namespace VintrelTests
