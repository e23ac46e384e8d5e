#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QString>
#include <QVariantMap>

namespace Vintrel {

class ApplicationRequests;

/// A result as it stands on the bus: (sssida{sv}).
struct RunnerMatch {
    QString identifier;
    QString text;
    QString icon;
    int kind = 0; ///< how sure it is, from 0 to 100
    double relevance = 0;
    QVariantMap properties;
};

/// Something else to do with a result: (sss).
struct RunnerAction {
    QString identifier;
    QString text;
    QString icon;
};

QDBusArgument& operator<<(QDBusArgument& argument, const RunnerMatch& match);
const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerMatch& match);
QDBusArgument& operator<<(QDBusArgument& argument, const RunnerAction& action);
const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerAction& action);

/// The shortcuts as results of KRunner. Keeps nothing between calls. Source of the interface:
/// org.kde.krunner1.xml, which that program installs.
class RunnerAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.krunner1")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"org.kde.krunner1\">\n"
                "    <method name=\"Match\">\n"
                "      <arg name=\"query\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"matches\" type=\"a(sssida{sv})\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"Actions\">\n"
                "      <arg name=\"actions\" type=\"a(sss)\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"Run\">\n"
                "      <arg name=\"matchId\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"actionId\" type=\"s\" direction=\"in\"/>\n"
                "    </method>\n"
                "  </interface>\n")
    // clang-format on

public:
    RunnerAdaptor(QObject* object, ApplicationRequests& requests);

public slots: // NOLINT(readability-redundant-access-specifiers): what follows are slots
    [[nodiscard]] QList<Vintrel::RunnerMatch> Match(const QString& query) const;
    /// None: a result has nothing but its one meaning.
    [[nodiscard]] QList<Vintrel::RunnerAction> Actions() const;
    void Run(const QString& matchID, const QString& actionID);

private:
    ApplicationRequests& m_requests;
};

} // namespace Vintrel
