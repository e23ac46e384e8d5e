#pragma once

#include "tests/app/support/SessionBus.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QTimer>
#include <QVariantList>

namespace VintrelTests {

inline const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
inline const QString itemPath = QStringLiteral("/StatusNotifierItem");
inline const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");
inline const QString menuPath = QStringLiteral("/MenuBar");

/// A tray with the watcher that collects its icons, within the test's event loop. It does what the test says.
class PreparedTray : public QDBusVirtualObject {
public:
    enum class Presence { now, later };

    explicit PreparedTray(SessionBus& bus, Presence presence = Presence::now);
    ~PreparedTray() override;

    /// Offers the service, or does not any more.
    void arrive();
    void leave();

    /// Is gone from the bus from one moment to the next.
    void crash();

    /// Whether there is a tray, and not only the watcher.
    bool hasHost = true;
    /// Tells that this is otherwise now.
    void setHost(bool isThere);

    int refusals = 0;                    ///< how many of the next registrations fail
    std::vector<std::string> registered; ///< the services, each time that they were registered
    std::vector<int> propertiesAtOnce;   ///< how many properties each had at that moment

    /// Waits until that many have been registered in all; whether it comes to just that.
    [[nodiscard]] bool hasRegistered(size_t count) const;

    // What it does with the item that was registered last.

    /// A call, and what is answered.
    [[nodiscard]] QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                                    const QVariantList& arguments = {});

    /// The same for one of the item's own methods.
    QDBusMessage call(const QString& method, const QVariantList& arguments = {}) {
        return call(itemPath, itemInterface, method, arguments);
    }

    [[nodiscard]] QVariant read(const QString& name, const QString& path = itemPath,
                                const QString& interface = itemInterface);

    /// From now on notes whether the item tells of this.
    void listenFor(const QString& signal);
    /// Whether it does, within some time; forgets it then.
    [[nodiscard]] bool hasTold(const QString& signal);
    /// Whether it has told by now, without waiting.
    [[nodiscard]] bool hasToldByNow(const QString& signal);

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void takeRegistration(const QDBusMessage& message);

    QDBusConnection m_bus;
    std::map<QString, std::unique_ptr<QTimer>> m_told; // started by the signal
};

} // namespace VintrelTests
