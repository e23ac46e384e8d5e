#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

namespace Vintrel {

class ApplicationInstance;
class ApplicationRequests;

/// What launchers, links and second starts call. Source of the interface: the Desktop Entry
/// Specification 1.5, "D-Bus Activation".
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"org.freedesktop.Application\">\n"
                "    <method name=\"Activate\">\n"
                "      <arg name=\"platform_data\" type=\"a{sv}\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"Open\">\n"
                "      <arg name=\"uris\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"platform_data\" type=\"a{sv}\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"ActivateAction\">\n"
                "      <arg name=\"action_name\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"parameter\" type=\"av\" direction=\"in\"/>\n"
                "      <arg name=\"platform_data\" type=\"a{sv}\" direction=\"in\"/>\n"
                "    </method>\n"
                "  </interface>\n")
    // clang-format on

public:
    ApplicationAdaptor(QObject* object, QDBusConnection bus, ApplicationRequests& requests,
                       ApplicationInstance& instance);

public slots: // NOLINT(readability-redundant-access-specifiers): what follows are slots
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    /// `parameter` holds at most one value; no action of this program takes one.
    void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData,
                        const QDBusMessage& message);

private:
    QDBusConnection m_bus;
    ApplicationRequests& m_requests;
    ApplicationInstance& m_instance;
};

} // namespace Vintrel
