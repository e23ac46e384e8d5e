#pragma once

#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QString>
#include <QStringList>

namespace VintrelTests {

/// One start of the program.
class Start {
public:
    Start(const std::vector<std::string>& arguments, std::filesystem::path log,
          const std::map<std::string, std::string>& environment)
        : m_log(std::move(log)), m_process(optionsFor(arguments, m_log, environment)) {}

    [[nodiscard]] int32_t pid() const { return m_process.pid(); }

    [[nodiscard]] bool runs() const { return isRunning(pid()); }

    void signal(int number) const { m_process.signal(number); }

    /// Waits for its end: the exit status, or minus the number of the signal that ended it.
    [[nodiscard]] std::optional<int> status() {
        const bool hasEnded = spinUntil([this] { return !runs(); });
        return hasEnded ? std::optional(m_process.wait()) : std::nullopt;
    }

    /// What it has written so far.
    [[nodiscard]] std::string output() const {
        std::ifstream file(m_log);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    static ProcessOptions optionsFor(const std::vector<std::string>& arguments,
                                     const std::filesystem::path& log,
                                     const std::map<std::string, std::string>& environment) {
        ProcessOptions options{.argv = {VINTREL_APP}, .environment = environment, .output = log};
        options.argv.insert(options.argv.end(), arguments.begin(), arguments.end());
        return options;
    }

    std::filesystem::path m_log;
    Process m_process;
};

/// A test of the program itself, on a bus of its own and without a screen.
class InstanceTest : public AppTest {
public:
    InstanceTest() { std::filesystem::permissions(folder.path() / "run", std::filesystem::perms::owner_all); }

    [[nodiscard]] std::unique_ptr<Start> start(const std::vector<std::string>& arguments = {},
                                               std::map<std::string, std::string> environment = {}) {
        environment.emplace("DBUS_SESSION_BUS_ADDRESS", bus.address());
        environment.emplace("LC_ALL", "C.UTF-8"); // else newer toolkits say that they have chosen it
        const std::string log = "start-" + std::to_string(++m_starts) + ".log";
        return std::make_unique<Start>(arguments, folder.path() / log, environment);
    }

    /// The process that owns the program's name; 0 for none.
    [[nodiscard]] int32_t owner() {
        const QDBusReply<uint> pid = m_connection.interface()->servicePid("dev.vintrel.Vintrel");
        return pid.isValid() ? static_cast<int32_t>(pid.value()) : 0;
    }

    /// How many programs are on the bus.
    [[nodiscard]] qsizetype connections() {
        const QStringList names = m_connection.interface()->registeredServiceNames().value();
        return std::ranges::count_if(names, [](const QString& name) { return name.startsWith(':'); });
    }

    /// Waits until that start is the one instance.
    [[nodiscard]] bool isTheOne(const Start& start) {
        return spinUntil([&] { return owner() == start.pid(); });
    }

    /// A start that has become the one instance.
    [[nodiscard]] std::unique_ptr<Start> startFirst(const std::vector<std::string>& arguments = {}) {
        auto first = start(arguments);
        EXPECT_TRUE(isTheOne(*first)) << first->output();
        return first;
    }

    TemporaryFolder folder;

private:
    // Also for what the bus starts, so before it.
    ScopedEnvironment m_platform{"QT_QPA_PLATFORM", "offscreen"};
    ScopedEnvironment m_noDisplay{"DISPLAY", std::nullopt};
    ScopedEnvironment m_noWayland{"WAYLAND_DISPLAY", std::nullopt};
    ScopedEnvironment m_noStartupID{"DESKTOP_STARTUP_ID", std::nullopt};
    ScopedEnvironment m_noToken{"XDG_ACTIVATION_TOKEN", std::nullopt};
    ScopedEnvironment m_runtime{"XDG_RUNTIME_DIR", folder.makeFolder("run").string()};
    ScopedEnvironment m_noContainers{"DOCKER_HOST", "unix://" + (folder.path() / "none").string()};
    int m_starts = 0;

public:
    SessionBus bus;

private:
    QDBusConnection m_connection = bus.connect();
};

} // namespace VintrelTests
