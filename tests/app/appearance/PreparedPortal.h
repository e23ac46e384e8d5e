#pragma once

#include "Vintrel/shell/Appearance.h"
#include "tests/app/support/SessionBus.h"

#include <optional>
#include <vector>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

namespace VintrelTests {

/// An accent as it stands on the bus: (ddd).
struct Shares {
    double red = 0;
    double green = 0;
    double blue = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Shares& shares);
const QDBusArgument& operator>>(const QDBusArgument& argument, Shares& shares);

/// The values of each group by their keys.
using Groups = QMap<QString, QVariantMap>;

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString interface = QStringLiteral("org.gnome.desktop.interface");

/// A settings portal that does what the test says, within the test's event loop.
class PreparedPortal : public QDBusVirtualObject {
public:
    enum class Presence { now, later };

    explicit PreparedPortal(SessionBus& bus, const Groups& values = {}, Presence presence = Presence::now);
    ~PreparedPortal() override;

    /// Offers the service, or does not any more.
    void arrive();
    void leave();

    /// From now on nothing is answered, until the answers are given all at once.
    void fallSilent() { m_isSilent = true; }

    void answerAll();

    /// Tells that a value has changed.
    void change(const QString& group, const QString& key, const QVariant& value);

    /// Sends a signal with these arguments, whatever they are.
    void tell(const QVariantList& arguments);

    /// Waits until the program on this connection has heard everything that the portal has said so far;
    /// whether it has.
    [[nodiscard]] bool isHeardOn(const QDBusConnection& program) const;

    QVariantList answer;          ///< the arguments of its answers
    std::optional<QString> error; ///< with which it answers instead
    std::vector<QDBusMessage> asked;
    QStringList calls; ///< the methods that were called, those of other interfaces too

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void reply(const QDBusMessage& message);

    QDBusConnection m_bus;
    bool m_isSilent = false;
    std::vector<QDBusMessage> m_unanswered;
};

/// How often an appearance has said that it changed.
class Changes {
public:
    explicit Changes(const Vintrel::Appearance& desktop) {
        QObject::connect(&desktop, &Vintrel::Appearance::changed, &m_context, [this] { ++count; });
    }

    int count = 0;

private:
    QObject m_context;
};

} // namespace VintrelTests

Q_DECLARE_METATYPE(VintrelTests::Shares)
