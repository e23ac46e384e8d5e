#include "tests/desktop/Screen.h"

#include <filesystem>
#include <stdexcept>
#include <vector>

#include <signal.h>

namespace VintrelTests {

namespace {

constexpr std::string_view windowManagerSettings =
    "<?xml version=\"1.0\"?>\n"
    "<openbox_config xmlns=\"http://openbox.org/3.4/rc\">\n"
    "  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>\n"
    "  <keyboard/>\n"
    "</openbox_config>\n";

} // namespace

Screen::Screen() {
    takeNumber();
    m_server.emplace(ProcessOptions{.argv = {"Xvfb", m_display, "-nolock", "-displayfd", "1", "-nolisten",
                                             "tcp", "-screen", "0", "1000x1000x24"}});
    if (":" + m_server->readLine() != m_display) { // it says its number when it is ready
        throw std::runtime_error("no screen");
    }
    const auto isReady = m_folder.path() / "ready";
    m_windowManager.emplace(ProcessOptions{
        .argv = {"openbox", "--config-file", m_folder.write("settings.xml", windowManagerSettings).string(),
                 "--startup", "touch " + isReady.string()},
        .environment = {{"DISPLAY", m_display}},
        .output = m_folder.path() / "log"});
    if (!eventually([&] { return std::filesystem::exists(isReady); })) {
        throw std::runtime_error("no window manager");
    }
}

Screen::~Screen() {
    m_windowManager.reset();
    m_server->signal(SIGTERM); // so that it removes its socket
    m_server->wait();
}

/// The servers cannot agree on their numbers: each test has a process namespace of its own, in which the lock
/// files of the others seem to be of processes that are gone.
void Screen::takeNumber() {
    constexpr int first = 100;
    constexpr int last = 199;
    for (int number = first; number <= last && !m_number; ++number) {
        const auto name = "vintrel-test-screen-" + std::to_string(number);
        m_number = VintrelCore::FileLock::take(std::filesystem::temp_directory_path() / name, {});
        m_display = ":" + std::to_string(number);
    }
    if (!m_number) {
        throw std::runtime_error("no number for a screen");
    }
}

void Screen::click(int x, int y, int button) const {
    simulate({"mousemove", std::to_string(x), std::to_string(y), "click", std::to_string(button)});
}

void Screen::point(int x, int y) const {
    simulate({"mousemove", std::to_string(x), std::to_string(y)});
}

void Screen::press(const std::string& keys) const {
    simulate({"key", keys});
}

void Screen::type(const std::string& text) const {
    simulate({"type", "--", text});
}

void Screen::simulate(std::initializer_list<std::string> words) const {
    std::vector<std::string> argv{"xdotool"};
    argv.insert(argv.end(), words);
    if (Process({.argv = argv, .environment = {{"DISPLAY", m_display}}}).wait() != 0) {
        throw std::runtime_error("the screen took no " + argv[1]);
    }
}

} // namespace VintrelTests
