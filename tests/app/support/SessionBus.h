#pragma once

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <string>

#include <QDBusConnection>
#include <QString>
#include <QStringList>

namespace VintrelTests {

/// A message bus of a test's own, until the end of the scope. It starts no services but those that it is
/// told of: the machine's notification server stays out of it.
class SessionBus {
public:
    SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;
    ~SessionBus();

    /// What DBUS_SESSION_BUS_ADDRESS has to be for a program on it.
    [[nodiscard]] const std::string& address() const { return m_address; }

    /// A new connection, which closes when nobody uses it any more.
    [[nodiscard]] QDBusConnection connect();

    /// From now on the bus runs `command` when somebody asks for `service`, which nobody offers.
    void startOnDemand(const std::string& service, const std::string& command);

    /// Whether somebody offers the service right now.
    [[nodiscard]] bool isOffered(const QString& service);

    /// Stays, but does nothing any more.
    void hang() const;

    /// Ends, with all connections.
    void end();

private:
    TemporaryFolder m_folder;
    std::optional<Process> m_daemon;
    std::string m_address;
    QStringList m_connections;
    QDBusConnection m_own;
};

} // namespace VintrelTests
