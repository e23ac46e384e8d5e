#pragma once

#include <utility>

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QObject>

/// Calls over a message bus that nobody waits for.
namespace Vintrel::BusCall {

/// For a service that hangs: longer than one that has to be started first takes.
inline constexpr int usualPatience = 10'000; // milliseconds

/// Calls `onReply(reply)` on this thread once there is one, or an error, unless `owner` is gone.
template <typename Reply, typename OnReply>
void make(const QDBusConnection& bus, const QDBusMessage& message, QObject* owner, OnReply onReply) {
    // A call without a bus would never be answered.
    const QDBusError noBus(QDBusError::Disconnected, QStringLiteral("there is no session bus"));
    const QDBusPendingCall pending =
        bus.isConnected() ? bus.asyncCall(message, usualPatience) : QDBusPendingCall::fromError(noBus);
    auto* const watcher = new QDBusPendingCallWatcher(pending, owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         onReply(Reply(*finished));
                     });
}

/// A call of the bus itself. Source: D-Bus specification, "Message Bus Messages".
inline QDBusMessage toBus(const QString& method) {
    const QString name = QStringLiteral("org.freedesktop.DBus");
    return QDBusMessage::createMethodCall(name, QStringLiteral("/org/freedesktop/DBus"), name, method);
}

} // namespace Vintrel::BusCall
