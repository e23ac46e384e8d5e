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
    // It is ready when it says its number.
    m_server.emplace(ProcessOptions{
        .argv = {"Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "1000x1000x24"}});
    m_display = ":" + m_server->readLine();
    if (m_display == ":") {
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
    m_server->signal(SIGTERM); // so that it gives its number back
    m_server->wait();
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
