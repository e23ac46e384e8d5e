#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include <QDBusContext>
#include <QObject>
#include <QStringList>

#include <sys/types.h>

namespace Bench {

/// The least tray there is: takes note of the icons that register on the session bus, and asks each one for
/// all that a panel asks for.
class TrayWatcher : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostThere CONSTANT)
    Q_PROPERTY(int ProtocolVersion READ version CONSTANT)

public:
    using Moment = std::chrono::steady_clock::time_point;

    /// Told of an icon of that process, and when it registered.
    using OnRegistered = std::function<void(pid_t owner, Moment moment)>;

    /// Ends the program when it cannot be the session's only tray.
    TrayWatcher();

    void setOnRegistered(OnRegistered onRegistered) { m_onRegistered = std::move(onRegistered); }

    [[nodiscard]] QStringList items() const { return m_items; }

    [[nodiscard]] static bool isHostThere() { return true; }

    [[nodiscard]] static int version() { return 0; }

    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service);

    Q_SCRIPTABLE void RegisterStatusNotifierHost(const QString& /*service*/) {}

signals:
    Q_SCRIPTABLE void StatusNotifierItemRegistered(const QString& item);
    Q_SCRIPTABLE void StatusNotifierItemUnregistered(const QString& item);
    Q_SCRIPTABLE void StatusNotifierHostRegistered();
    Q_SCRIPTABLE void StatusNotifierHostUnregistered();

private:
    QStringList m_items;
    OnRegistered m_onRegistered;
};

} // namespace Bench
