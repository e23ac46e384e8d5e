#pragma once

#include "tests/app/support/SessionBus.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>

namespace VintrelTests {

/// A notification as its server understood it.
struct ShownNotification {
    unsigned number = 0;
    std::string appName;
    std::string summary;
    std::string body;
    std::string urgency; ///< LOW, NORMAL or CRITICAL
    std::string desktopEntry;
};

/// A real notification server (dunst), on a bus of a test's own and a screen that nobody sees. It ends with
/// the object.
class NotificationServer {
public:
    enum class Markup { none, full };
    enum class Start { now, onDemand };

    explicit NotificationServer(SessionBus& bus, Markup markup = Markup::full, Start start = Start::now);
    NotificationServer(const NotificationServer&) = delete;
    NotificationServer& operator=(const NotificationServer&) = delete;
    ~NotificationServer();

    /// What it has shown so far, the oldest first. Noted by a script that it runs, so that it may take a
    /// moment.
    [[nodiscard]] std::vector<ShownNotification> shown() const;

    /// Waits until it has shown that many; whether it does.
    [[nodiscard]] bool hasShown(size_t count) const;

    /// How many are on the screen.
    [[nodiscard]] int displayed();

    /// Answers the oldest one on the screen, as a click does.
    void clickOldest() { order(control, "NotificationAction", 0U); }

    void close(unsigned number) { order(service, "CloseNotification", number); }

    void closeAll() { order(control, "NotificationCloseAll", std::nullopt); }

    /// What it keeps of those that it does not show any more: their texts, the newest first.
    struct Kept {
        std::string appName;
        std::string summary;
        std::string body;
    };

    [[nodiscard]] std::vector<Kept> history();

private:
    static constexpr const char* service = "org.freedesktop.Notifications";
    static constexpr const char* control = "org.dunstproject.cmd0";

    void order(const char* interface, const char* what, std::optional<unsigned> argument);

    TemporaryFolder m_folder;
    QDBusConnection m_bus;
    std::optional<Process> m_screen;
    std::optional<Process> m_server;
};

} // namespace VintrelTests
