#pragma once

#include <memory>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantList>

namespace Vintrel {

/// The desktop's portal as seen from one connection to the bus. Newer portals serve only programs that they
/// know by an application id; one that is not packaged in a box has to tell it on that connection before
/// anything else, which is done with the first call. Source of the interface: the host application registry
/// of XDG Desktop Portal, version 1.
class Portal : public QObject {
    Q_OBJECT

public:
    inline static const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
    inline static const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

    /// The one that everybody on this connection shares. Nothing is asked of it by that, so that it is not
    /// started either.
    [[nodiscard]] static std::shared_ptr<Portal> on(const QDBusConnection& bus);

    /// Calls a method of an object of the portal, which starts for it if it does not run.
    [[nodiscard]] QDBusPendingCall call(const QString& object, const QString& interface,
                                        const QString& method, const QVariantList& arguments, int patience);

signals:
    void left(); ///< with all that it knew
    void arrived();

private:
    explicit Portal(const QDBusConnection& bus);

    void registerProgram();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    bool m_isRegistered = false; // with the present one
};

} // namespace Vintrel
