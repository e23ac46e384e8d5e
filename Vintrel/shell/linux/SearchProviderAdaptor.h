#pragma once

#include <QDBusAbstractAdaptor>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace Vintrel {

class ApplicationRequests;

/// The shortcuts as results of GNOME Shell's search. Keeps nothing between calls. Source of the interface:
/// org.gnome.ShellSearchProvider2.xml, which that shell installs.
class SearchProviderAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.SearchProvider2")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"org.gnome.Shell.SearchProvider2\">\n"
                "    <method name=\"GetInitialResultSet\">\n"
                "      <arg name=\"terms\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"results\" type=\"as\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetSubsearchResultSet\">\n"
                "      <arg name=\"previous_results\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"terms\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"results\" type=\"as\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetResultMetas\">\n"
                "      <arg name=\"identifiers\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"metas\" type=\"aa{sv}\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"ActivateResult\">\n"
                "      <arg name=\"identifier\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"terms\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"timestamp\" type=\"u\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"LaunchSearch\">\n"
                "      <arg name=\"terms\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"timestamp\" type=\"u\" direction=\"in\"/>\n"
                "    </method>\n"
                "  </interface>\n")
    // clang-format on

public:
    SearchProviderAdaptor(QObject* object, ApplicationRequests& requests);

public slots: // NOLINT(readability-redundant-access-specifiers): what follows are slots
    [[nodiscard]] QStringList GetInitialResultSet(const QStringList& terms) const;
    [[nodiscard]] QStringList GetSubsearchResultSet(const QStringList& previousResults,
                                                    const QStringList& terms) const;
    [[nodiscard]] QList<QVariantMap> GetResultMetas(const QStringList& identifiers) const;
    void ActivateResult(const QString& identifier, const QStringList& terms, uint timestamp);
    /// The user chose the program itself instead of a result.
    void LaunchSearch(const QStringList& terms, uint timestamp);

private:
    ApplicationRequests& m_requests;
};

} // namespace Vintrel
