#include "tests/desktop/tray/TrayTest.h"

#include "Vintrel/views/parts/Theme.h"
#include "tests/desktop/tray/Pixels.h"

#include <chrono>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace VintrelTests {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds patience{30};

} // namespace

TrayTest::TrayTest() {
    settings().write("[General]\nelapsedThreshold=0.000001\nscanInterval=2\n");
    if (isWayland()) {
        m_compositor.emplace(m_screen);
    }
    m_environment = makeEnvironment();
    m_panel.emplace(GetParam(), m_bus, m_environment);
    addStray();
}

void TrayTest::addStray() {
    const fs::path project = home() / "shop";
    fs::create_directories(project / ".git");
    m_strays.push_back(std::make_unique<Stray>(StrayOptions{.argv = {"vitest", "--watch"}, .cwd = project}));
    letStraysAge();
}

std::map<std::string, std::string> TrayTest::makeEnvironment() const {
    const fs::path runtime = m_folder.makeFolder("run");
    fs::permissions(runtime, fs::perms::owner_all);
    std::map<std::string, std::string> environment{
        {"DBUS_SESSION_BUS_ADDRESS", m_bus.address()},
        {"DISPLAY", m_screen.display()},
        {"DOCKER_HOST", "unix://" + (m_folder.path() / "none").string()},
        {"GSETTINGS_BACKEND", "memory"},
        {"LC_ALL", "C.UTF-8"},
        {"NO_AT_BRIDGE", "1"},
        {"QT_QPA_PLATFORM", "xcb"},
        {"XDG_CACHE_HOME", m_folder.makeFolder("cache").string()},
        {"XDG_RUNTIME_DIR", runtime.string()}};
    if (m_compositor) {
        environment["QT_QPA_PLATFORM"] = "wayland";
        environment["WAYLAND_DISPLAY"] = m_compositor->display();
        environment["XDG_CURRENT_DESKTOP"] = "sway";
    }
    return environment;
}

void TrayTest::start(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VINTREL_APP);
    m_program.emplace(ProcessOptions{
        .argv = arguments, .environment = m_environment, .output = m_folder.path() / "program.log"});
}

std::optional<int> TrayTest::startAgain(const std::vector<std::string>& arguments) const {
    ProcessOptions options{
        .argv = {VINTREL_APP}, .environment = m_environment, .output = m_folder.path() / "second.log"};
    options.argv.insert(options.argv.end(), arguments.begin(), arguments.end());
    Process second(options);
    const bool hasEnded = eventually([&second] { return !isRunning(second.pid()); }, patience);
    return hasEnded ? std::optional(second.wait()) : std::nullopt;
}

void TrayTest::startPortal(const std::vector<std::string>& arguments) {
    ProcessOptions options{.argv = {VINTREL_PORTAL}, .environment = m_environment};
    options.argv.insert(options.argv.end(), arguments.begin(), arguments.end());
    m_portal.emplace(options);
    if (m_portal->readLine() != "ready") {
        throw std::runtime_error("no portal");
    }
}

std::optional<QRect> TrayTest::startInPanel() {
    panel().start();
    start();
    return awaitBadge();
}

std::optional<QRect> TrayTest::badge() const {
    return findColor(m_screen.display(), Vintrel::PanelColors::on({}).safe);
}

std::optional<QRect> TrayTest::awaitBadge() const {
    // Panels make room for new icons step by step.
    std::optional<QRect> before;
    std::optional<QRect> now;
    const bool rests = eventually(
        [&] {
            before = std::exchange(now, badge());
            return now && before == now;
        },
        patience);
    return rests ? now : std::nullopt;
}

bool TrayTest::awaitNoBadge() const {
    return eventually([this] { return !badge(); }, patience);
}

std::optional<Compositor::Window> TrayTest::compositorWindow() const {
    return m_compositor->window("dev.vintrel.Vintrel");
}

std::optional<QRect> TrayTest::popover() const {
    if (m_compositor) {
        const auto window = compositorWindow();
        return window ? std::optional(window->place) : std::nullopt;
    }
    Process search({.argv = {"xdotool", "search", "--onlyvisible", "--name", "^Vintrel$", "getwindowgeometry",
                             "--shell", "%@"},
                    .environment = m_environment});
    std::istringstream lines(search.readAll());
    std::map<std::string, int> values; // each window's come in this order, and end with its screen
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        if (equals != std::string::npos) {
            values[line.substr(0, equals)] = std::stoi(line.substr(equals + 1));
        }
        // In a tray of X11 the icon is a window of that name.
        constexpr int widerThanAnIcon = 100;
        if (line.starts_with("SCREEN=") && values["WIDTH"] > widerThanAnIcon) {
            return QRect(values["X"], values["Y"], values["WIDTH"], values["HEIGHT"]);
        }
    }
    return std::nullopt;
}

std::optional<QRect> TrayTest::awaitPopover() const {
    std::optional<QRect> found;
    eventually([&] { return (found = popover()).has_value(); }, patience);
    return found;
}

bool TrayTest::awaitNoPopover() const {
    return eventually([this] { return !popover(); }, patience);
}

void TrayTest::click(const QRect& badge, int button) const {
    m_screen.click(badge.center().x(), badge.center().y(), button);
}

bool TrayTest::isBeside(const QRect& window, const QRect& icon) {
    const bool isBelow = window.top() > icon.bottom() && window.top() - icon.bottom() < 40;
    const bool isAbove = window.bottom() < icon.top() && icon.top() - window.bottom() < 40;
    return (isBelow || isAbove) && window.left() < icon.center().x() &&
           icon.center().x() < window.right() + 40;
}

std::optional<int> TrayTest::exitStatus() {
    const bool hasEnded = eventually([this] { return !isRunning(m_program->pid()); }, patience);
    return hasEnded ? std::optional(m_program->wait()) : std::nullopt;
}

} // namespace VintrelTests
