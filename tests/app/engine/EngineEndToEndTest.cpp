// The whole engine on real things: real strays that come and go, the real tools, a real notification server,
// and the command line beside it. The test sees only the processes that it started.
#include "Vintrel/engine/ByteCount.h"
#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "VintrelCore/VintrelCore.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/NotificationServer.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;
using Vintrel::ScanEngine;

namespace {

class EngineEndToEnd : public AppTest {
public:
    EngineEndToEnd() {
        settings().write("[General]\nscanInterval=1.5\nelapsedThreshold=0.000001\n"
                         "notificationsEnabled=true\nprotectedProjects=~/mine\n");
        makeFolder("shop/.git");
        makeFolder("mine");
    }

    /// To be called once the settings are as they are meant to be.
    void startEngine() {
        m_engine.emplace(m_notifications);
        QObject::connect(&*m_engine, &ScanEngine::changed, &*m_engine, [this](ScanEngine::Field field) {
            m_scans += field == ScanEngine::Field::isScanning && !m_engine->isScanning() ? 1 : 0;
        });
    }

    [[nodiscard]] ScanEngine& engine() { return *m_engine; }

    [[nodiscard]] const NotificationServer& server() const { return m_server; }

    [[nodiscard]] std::filesystem::path folder(const std::string& name) const { return home() / name; }

    /// Waits for a scan that has not begun yet.
    [[nodiscard]] bool awaitWholeScan() {
        const int before = m_scans;
        return spinUntil([&] { return m_scans >= before + (m_engine->isScanning() ? 2 : 1); });
    }

    [[nodiscard]] bool lists(int32_t pid) const {
        return std::ranges::find(m_engine->items(), pid, &ProcessItem::pid) != m_engine->items().end();
    }

    [[nodiscard]] std::vector<CleanEvent> eventsOnDisk() const {
        return CleanLogFile::load(cleanLogFile().string(), CleanLogFile::retentionCap);
    }

    static std::string outputOf(const std::string& command) {
        return Process({.argv = {VINTREL_PROGRAM, command}}).readAll();
    }

private:
    void makeFolder(const std::string& name) const { std::filesystem::create_directories(home() / name); }

    SessionBus m_bus;
    NotificationServer m_server{m_bus};
    Vintrel::DesktopNotifications m_notifications{m_bus.connect()};
    std::optional<ScanEngine> m_engine;
    int m_scans = 0;
};

} // namespace

TEST_F(EngineEndToEnd, announcesCleansAndRecordsWhileStraysComeAndGo) {
    const Stray first({.argv = {"vitest", "--watch"}, .cwd = folder("shop")});
    letStraysAge();
    startEngine();
    ASSERT_TRUE(awaitWholeScan());
    EXPECT_TRUE(lists(first.pid()));
    EXPECT_EQ(server().shown().size(), 0U) << "the first scan announces nothing";

    std::optional<Stray> second;
    second.emplace(StrayOptions{.argv = {"jest", "--watch"}});
    ASSERT_TRUE(spinUntil([&] { return lists(second->pid()); }));
    ASSERT_TRUE(spinUntil([&] { return server().shown().size() == 1; }));
    EXPECT_EQ(server().shown()[0].summary, "New stray process");
    EXPECT_EQ(server().shown()[0].body, "Jest: jest");

    second.reset();
    const Stray third({.argv = {"pytest", "-x"}, .cwd = folder("shop")});
    const Stray kept({.argv = {"vitest", "--watch"}, .cwd = folder("mine")});
    ASSERT_TRUE(spinUntil([&] { return lists(third.pid()) && lists(kept.pid()); }));
    ASSERT_TRUE(spinUntil([&] { return server().shown().size() == 2; }));
    EXPECT_EQ(server().shown()[1].summary, "2 new stray processes");
    EXPECT_EQ(server().shown()[1].body, third.pid() < kept.pid() ? "pytest, vitest" : "vitest, pytest");
    EXPECT_EQ(engine().items().size(), 3U);

    letStraysAge();
    ASSERT_TRUE(awaitWholeScan());
    engine().perform(URLScheme::Command::clean);
    ASSERT_TRUE(spinUntil([&] { return server().shown().size() == 3; }));
    EXPECT_FALSE(isRunning(first.pid()) || isRunning(third.pid()));
    EXPECT_TRUE(isRunning(kept.pid())) << "its project is protected";

    const auto events = eventsOnDisk();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events, engine().cleanLog().events());
    EXPECT_EQ(events[0].projectLabel, "shop");
    EXPECT_EQ(events[1].projectLabel, "shop");
    EXPECT_EQ(server().shown()[2].summary, "Cleaned 2 of 2");
    EXPECT_EQ(server().shown()[2].body,
              "~" + Vintrel::memoryTextOfKB(events[0].rssKB + events[1].rssKB) + " reclaimed");

    ASSERT_TRUE(awaitWholeScan());
    EXPECT_TRUE(lists(kept.pid()));
    EXPECT_EQ(server().shown().size(), 3U) << "nothing is new";
}

TEST_F(EngineEndToEnd, andTheCommandLineGoByTheSameSettingsAndLog) {
    const Stray stray({.argv = {"vitest", "--watch"}, .cwd = folder("shop")});
    const Stray kept({.argv = {"vitest", "--watch"}, .cwd = folder("mine")});
    letStraysAge();
    startEngine();
    engine().setProtectedProjects({folder("mine").string(), folder("shop").string()});
    EXPECT_EQ(outputOf("clean"), "No unprotected safe-to-clean processes.\n");

    engine().setProtectedProjects({"~/mine"});
    EXPECT_TRUE(outputOf("clean").contains("Cleaned 1 of 1, ~"));
    EXPECT_FALSE(isRunning(stray.pid()));
    EXPECT_TRUE(isRunning(kept.pid()));
    EXPECT_TRUE(spinUntil([&] { return engine().cleanLog().events().size() == 1; }));
    EXPECT_EQ(engine().cleanLog().events(), eventsOnDisk());
}
