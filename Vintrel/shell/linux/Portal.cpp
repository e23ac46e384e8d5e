#include "Vintrel/shell/linux/Portal.h"

#include "Vintrel/shell/linux/SessionNames.h"

#include <map>
#include <utility>

#include <QVariantMap>

namespace Vintrel {

std::shared_ptr<Portal> Portal::on(const QDBusConnection& bus) {
    static std::map<QString, std::weak_ptr<Portal>> portals; // of the main thread
    std::weak_ptr<Portal>& known = portals[bus.name()];
    std::shared_ptr<Portal> portal = known.lock();
    if (!portal) {
        portal.reset(new Portal(bus));
        known = portal;
    }
    return portal;
}

Portal::Portal(const QDBusConnection& bus)
    : m_bus(bus), m_watcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    // One may also take the place of another without a moment between them.
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& before, const QString& now) {
                m_isRegistered = false;
                if (!before.isEmpty()) {
                    emit left();
                }
                if (!now.isEmpty()) {
                    emit arrived();
                }
            });
}

QDBusPendingCall Portal::call(const QString& object, const QString& interface, const QString& method,
                              const QVariantList& arguments, int patience) {
    if (!std::exchange(m_isRegistered, true)) {
        registerProgram();
    }
    QDBusMessage message = QDBusMessage::createMethodCall(service, object, interface, method);
    message.setArguments(arguments);
    return m_bus.asyncCall(message, patience);
}

/// Messages of one connection stay in order, so nobody has to wait for the answer. It may well be an error:
/// older portals know no registry and do without, and some toolkits have registered the program already.
void Portal::registerProgram() {
    QDBusMessage message = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.host.portal.Registry"), QStringLiteral("Register"));
    message << SessionNames::service << QVariantMap();
    m_bus.send(message);
}

} // namespace Vintrel
