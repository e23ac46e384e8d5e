// Links as a user opens them: through the desktop's own tools, which find the program by its installed entry.
#include "VintrelCore/base/File.h"
#include "tests/app/instance/LinksTest.h"
#include "tests/support/Stray.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelTests;
using Texts = std::vector<std::string>;

namespace {

namespace fs = std::filesystem;

class OpenedLinksTest : public LinksTest {
public:
    OpenedLinksTest() {
        install();
        bus.startOnDemand("dev.vintrel.Vintrel", std::string(VINTREL_APP) + " --service");
    }

    /// Opens a link on that desktop. xdg-open has a way of its own where it does not know the desktop.
    [[nodiscard]] std::unique_ptr<Process> open(const Texts& command, const std::string& desktop) {
        return std::make_unique<Process>(ProcessOptions{
            .argv = command,
            // None of these programs shows anything, but they want to see that there is a screen.
            .environment = {{"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                            {"DISPLAY", ":none"},
                            {"XDG_CURRENT_DESKTOP", desktop}},
            .output = folder.path() / "open.log"});
    }

    /// The exit status; absent when it does not end.
    [[nodiscard]] static std::optional<int> status(Process& process) {
        const bool hasEnded = spinUntil([&process] { return !isRunning(process.pid()); });
        return hasEnded ? std::optional(process.wait()) : std::nullopt;
    }

    /// The program that somebody else has started; it ends with the test.
    void keepStarted() {
        ASSERT_TRUE(spinUntil([this] { return owner() != 0; }));
        m_started.emplace(owner());
    }

    /// Whether that one was the bus.
    [[nodiscard]] bool isStartedByBus() const {
        constexpr size_t most = size_t{1} << 16;
        const std::string line = "/proc/" + std::to_string(m_started.value().pid()) + "/cmdline";
        return VintrelCore::File::read(line, most) == std::string(VINTREL_APP) + '\0' + "--service" + '\0';
    }

    /// What it said, for when a test fails.
    [[nodiscard]] std::string log() const {
        constexpr size_t most = size_t{1} << 16;
        return VintrelCore::File::read((folder.path() / "open.log").string(), most).value_or("");
    }

private:
    /// As a package does it: the launcher's entry, with the program where it has been built.
    void install() const {
        constexpr size_t most = size_t{1} << 16;
        std::string entry = VintrelCore::File::read(VINTREL_DESKTOP_ENTRY, most).value_or("");
        const std::string program = "Exec=vintrel-app";
        for (size_t at = 0; (at = entry.find(program, at)) != std::string::npos; ++at) {
            entry.replace(at, program.size(), std::string("Exec=") + VINTREL_APP);
        }
        const fs::path applications = dataFolder() / "applications";
        fs::create_directories(applications);
        std::ofstream(applications / "dev.vintrel.Vintrel.desktop") << entry;
        if (Process({.argv = {"update-desktop-database", applications.string()}}).wait() != 0) {
            throw std::runtime_error("no database of launchers");
        }
    }

    ScopedEnvironment m_nothingElse{"XDG_DATA_DIRS", folder.makeFolder("share").string()};
    ScopedEnvironment m_noBrowser{"BROWSER", "/bin/false"};
    std::optional<Ended> m_started;
};

const std::string unknownDesktop = "X-Generic";
const std::string gnome = "GNOME"; // where xdg-open calls gio

} // namespace

TEST_F(OpenedLinksTest, toScanReachTheProgramThatRuns) {
    const Stray stray({.argv = {"vitest", "--watch"}});
    letStraysAge();
    const auto first = startFirst();
    const std::vector<std::pair<Texts, std::string>> ways{
        {{"xdg-open", "vintrel://scan"}, unknownDesktop},
        {{"xdg-open", "vintrel://scan"}, gnome},
        {{"gio", "open", "vintrel://scan"}, unknownDesktop}};
    for (size_t count = 1; count <= ways.size(); ++count) {
        const auto& [command, desktop] = ways[count - 1];
        EXPECT_EQ(status(*open(command, desktop)), 0) << log();
        EXPECT_EQ(titles(count), Texts(count, "New stray process")) << command.front() << log();
    }
    EXPECT_TRUE(isRunning(stray.pid()));
    EXPECT_EQ(owner(), first->pid());
}

TEST_F(OpenedLinksTest, toCleanReachTheProgramThatRuns) {
    const Stray stray({.argv = {"vitest", "--watch"}});
    letStraysAge();
    const auto first = startFirst();
    EXPECT_EQ(status(*open({"xdg-open", "vintrel://clean"}, unknownDesktop)), 0) << log();
    EXPECT_EQ(titles(1), Texts{"Cleaned 1 of 1"}) << log();
    EXPECT_FALSE(isRunning(stray.pid()));
    EXPECT_EQ(status(*open({"xdg-open", "vintrel://clean"}, gnome)), 0) << log();
    EXPECT_EQ(titles(2).back(), "Nothing to clean") << log();
    EXPECT_EQ(owner(), first->pid());
}

TEST_F(OpenedLinksTest, haveTheBusStartTheProgram) {
    EXPECT_EQ(status(*open({"gio", "open", "vintrel://clean"}, unknownDesktop)), 0) << log();
    keepStarted();
    EXPECT_TRUE(isStartedByBus());
    EXPECT_EQ(titles(1), Texts{"Nothing to clean"}) << log();
    EXPECT_EQ(status(*open({"xdg-open", "vintrel:CLEAN"}, unknownDesktop)), 0) << log();
    EXPECT_EQ(titles(2), Texts(2, "Nothing to clean")) << log();
}

TEST_F(OpenedLinksTest, haveTheBusStartTheProgramThroughXdgOpen) {
    EXPECT_EQ(status(*open({"xdg-open", "vintrel://clean"}, gnome)), 0) << log();
    keepStarted();
    EXPECT_TRUE(isStartedByBus());
    EXPECT_EQ(titles(1), Texts{"Nothing to clean"}) << log();
}

TEST_F(OpenedLinksTest, haveTheBusStartTheProgramWhereTheDesktopDoesNot) {
    EXPECT_EQ(status(*open({"xdg-open", "vintrel://clean"}, unknownDesktop)), 0) << log();
    keepStarted();
    EXPECT_TRUE(isStartedByBus());
    EXPECT_EQ(titles(1), Texts{"Nothing to clean"}) << log();
}
