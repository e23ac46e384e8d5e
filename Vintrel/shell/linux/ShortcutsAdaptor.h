#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QString>
#include <QStringList>

namespace Vintrel {

class ApplicationRequests;

/// A shortcut as it stands on the bus: (sssass).
struct ListedShortcut {
    QString identifier;
    QString title;
    QString shortTitle;
    QStringList phrases;
    QString icon;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ListedShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, ListedShortcut& shortcut);

/// The shortcuts for programs and scripts: what there is, and carrying one out.
class ShortcutsAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "dev.vintrel.Vintrel.Shortcuts")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"dev.vintrel.Vintrel.Shortcuts\">\n"
                "    <method name=\"List\">\n"
                "      <arg name=\"shortcuts\" type=\"a(sssass)\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"Run\">\n"
                "      <arg name=\"identifier\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"dialog\" type=\"s\" direction=\"out\"/>\n"
                "    </method>\n"
                "  </interface>\n")
    // clang-format on

public:
    ShortcutsAdaptor(QObject* object, QDBusConnection bus, ApplicationRequests& requests);

public slots: // NOLINT(readability-redundant-access-specifiers): what follows are slots
    [[nodiscard]] QList<Vintrel::ListedShortcut> List() const;

    /// Answers with the dialog's text, once what was asked is done. A clean takes its time: callers should
    /// be patient.
    QString Run(const QString& identifier, const QDBusMessage& message);

private:
    QDBusConnection m_bus;
    ApplicationRequests& m_requests;
};

} // namespace Vintrel
