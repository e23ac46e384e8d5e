#include "tests/desktop/DesktopTest.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/log/CleanLogFile.h"

#include <algorithm>
#include <chrono>

namespace VintrelTests {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds patience{20};

} // namespace

DesktopTest::DesktopTest() : m_reader(m_bus, "Vintrel", m_environment) {}

std::map<std::string, std::string> DesktopTest::makeEnvironment() const {
    const fs::path runtime = m_folder.makeFolder("run");
    fs::permissions(runtime, fs::perms::owner_all);
    return {{"DBUS_SESSION_BUS_ADDRESS", m_bus.address()},
            {"DISPLAY", m_screen.display()},
            {"GSETTINGS_BACKEND", "memory"},
            {"LC_ALL", "C.UTF-8"},
            {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"},
            {"QT_QPA_PLATFORM", "xcb"},
            {"XDG_CACHE_HOME", m_folder.makeFolder("cache").string()},
            {"XDG_RUNTIME_DIR", runtime.string()}};
}

fs::path DesktopTest::project(const std::string& name) const {
    fs::create_directories(home() / name / ".git");
    return home() / name;
}

bool DesktopTest::start(const std::string& containerEngine) {
    ProcessOptions options{.argv = {VINTREL_APP, "--show"},
                           .environment = m_environment,
                           .output = m_folder.path() / "program.log"};
    // Without one, the machine's own stays out of it.
    options.environment["DOCKER_HOST"] =
        containerEngine.empty() ? "unix://" + (m_folder.path() / "none").string() : containerEngine;
    m_program.emplace(options);
    const auto isAtRest = [](const Control& control) {
        return control.name == "Rescan (restores hidden items)" && control.description != "Scanning…";
    };
    const auto tells = [](const Control& control) {
        return control.role == "list item" || control.name == "No stray processes detected.";
    };
    return await(tells) && await(isAtRest);
}

std::optional<int> DesktopTest::exitStatus() {
    const bool hasEnded = eventually([this] { return !isRunning(m_program->pid()); }, patience);
    return hasEnded ? std::optional(m_program->wait()) : std::nullopt;
}

std::optional<Control> DesktopTest::find(const Which& which) {
    const Controls all = controls();
    const auto found = std::ranges::find_if(
        all, [&which](const Control& control) { return control.is("showing") && which(control); });
    return found != all.end() ? std::optional(*found) : std::nullopt;
}

std::optional<Control> DesktopTest::await(const Which& which) {
    std::optional<Control> found;
    eventually([&] { return (found = find(which)).has_value(); }, patience);
    return found;
}

bool DesktopTest::awaitGone(const Which& which) {
    return eventually([&] { return !find(which); }, patience);
}

bool DesktopTest::awaitFocus(const Which& which) {
    return eventually(
        [&] {
            const auto control = focused();
            return control && which(*control);
        },
        patience);
}

bool DesktopTest::moveTo(const Which& which, const std::string& key) {
    constexpr int mostSteps = 60;
    auto before = focused();
    for (int step = 0; step < mostSteps; ++step) {
        if (before && which(*before)) {
            return true;
        }
        press(key);
        std::optional<Control> now;
        if (!eventually([&] { return (now = focused()) && now != before; }, patience)) {
            return false;
        }
        before = now;
    }
    return false;
}

std::string DesktopTest::storedSettings() const {
    constexpr size_t most = size_t{1} << 20;
    return VintrelCore::File::read(settings().file().string(), most).value_or("");
}

std::vector<VintrelCore::CleanEvent> DesktopTest::storedEvents() const {
    using namespace VintrelCore;
    return CleanLogFile::load(cleanLogFile().string(), CleanLogFile::retentionCap);
}

} // namespace VintrelTests
