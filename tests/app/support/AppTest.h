#pragma once

#include "Vintrel/engine/UserNotifications.h"
#include "tests/app/support/SettingsStore.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace VintrelTests {

/// Runs the event loop until `isDone`; false when that takes longer than `patience`.
[[nodiscard]] bool spinUntil(const std::function<bool()>& isDone,
                             std::chrono::milliseconds patience = std::chrono::seconds(20));

/// Runs the event loop for a while: for what must not happen.
void spinFor(std::chrono::milliseconds time);

/// Notifications that nobody sees. What was asked is answered from the event loop, as a desktop does.
class RecordingNotifications : public Vintrel::UserNotifications {
public:
    Authorization authorization = Authorization::authorized;
    bool isToBeGranted = true; ///< the answer to the next request
    int requests = 0;
    int readings = 0;
    std::vector<Vintrel::UserNotification> added;

    void requestAuthorization(std::function<void(bool granted)> onAnswer) override;
    void readAuthorization(std::function<void(Authorization)> onAnswer) override;

    void add(const Vintrel::UserNotification& notification) override { added.push_back(notification); }
};

/// A test of the application: an event loop, and folders of its own.
class AppTest : public testing::Test {
public:
    enum class Face {
        none,
        widgets, ///< with windows that nobody sees
    };

    explicit AppTest(Face face = Face::none);

    /// Where the data folder is.
    [[nodiscard]] const std::filesystem::path& dataFolder() const { return m_data.path(); }

    [[nodiscard]] std::filesystem::path cleanLogFile() const {
        return dataFolder() / "Vintrel/clean-log.json";
    }

    [[nodiscard]] const SettingsStore& settings() const { return m_settings; }

    [[nodiscard]] const std::filesystem::path& home() const { return m_home.path(); }

private:
    TemporaryFolder m_home;
    TemporaryFolder m_data;
    ScopedEnvironment m_homeVariable{"HOME", m_home.path().string()};
    ScopedEnvironment m_dataVariable{"XDG_DATA_HOME", m_data.path().string()};
    SettingsStore m_settings;
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QCoreApplication> m_application;
};

} // namespace VintrelTests
