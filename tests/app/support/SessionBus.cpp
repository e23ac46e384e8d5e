#include "tests/app/support/SessionBus.h"

#include <atomic>
#include <stdexcept>

#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <signal.h>

namespace VintrelTests {

namespace {

/// A name that no connection of this process has had.
QString newName() {
    static std::atomic<int> last = 0;
    return QStringLiteral("vintrel-test-%1").arg(++last);
}

std::string configuration(const std::string& folder) {
    return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig>\n"
           "  <type>session</type>\n"
           "  <listen>unix:dir=" +
           folder +
           "</listen>\n"
           "  <auth>EXTERNAL</auth>\n"
           "  <servicedir>" +
           folder +
           "/services</servicedir>\n"
           "  <policy context=\"default\">\n"
           "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
           "    <allow eavesdrop=\"true\"/>\n"
           "    <allow own=\"*\"/>\n"
           "  </policy>\n"
           "</busconfig>\n";
}

} // namespace

SessionBus::SessionBus() : m_own(QString()) {
    m_folder.makeFolder("services");
    const auto file = m_folder.write("bus.conf", configuration(m_folder.path().string()));
    const std::string command = "exec dbus-daemon --config-file=\"$0\" --nofork --print-address=1 2>\"$1\"";
    m_daemon.emplace(ProcessOptions{
        .argv = {"/bin/sh", "-c", command, file.string(), (m_folder.path() / "log").string()}});
    m_address = m_daemon->readLine();
    m_own = connect();
    if (!m_own.isConnected()) {
        throw std::runtime_error("no message bus at \"" + m_address + "\"");
    }
}

SessionBus::~SessionBus() {
    end();
}

QDBusConnection SessionBus::connect() {
    m_connections.append(newName());
    return QDBusConnection::connectToBus(QString::fromStdString(m_address), m_connections.last());
}

void SessionBus::startOnDemand(const std::string& service, const std::string& command) {
    m_folder.write("services/" + service + ".service",
                   "[D-BUS Service]\nName=" + service + "\nExec=" + command + "\n");
    m_own.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                              "org.freedesktop.DBus", "ReloadConfig"));
}

bool SessionBus::isOffered(const QString& service) {
    return m_own.interface()->isServiceRegistered(service);
}

void SessionBus::hang() const {
    m_daemon->signal(SIGSTOP);
}

void SessionBus::end() {
    m_daemon.reset();
    m_own = QDBusConnection(QString());
    for (const QString& name : m_connections) {
        QDBusConnection::disconnectFromBus(name);
    }
    m_connections.clear();
}

} // namespace VintrelTests
