#pragma once

#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/support/SessionBus.h"

#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace VintrelTests {

/// What a server was asked to show.
struct AskedToShow {
    uint number = 0;   ///< which the server gave it
    QString signature; ///< the types of the arguments
    QString appName;
    uint replaces = 0;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
};

/// A notification server that does what the test says, within the test's event loop.
class PreparedServer : public QDBusVirtualObject {
public:
    explicit PreparedServer(SessionBus& bus, QStringList capabilities = {"actions", "body"});
    ~PreparedServer() override;

    /// Offers the service (from the beginning), or does not any more.
    void arrive();
    void leave();

    /// From now on nothing is answered, until the answers are given all at once.
    void fallSilent() { m_isSilent = true; }

    void answerAll();

    /// The errors with which it answers from now on.
    std::optional<QString> errorForCapabilities;
    std::optional<QString> errorForShowing;

    /// Answers the next one and, before the program can look, has it clicked.
    bool clicksAtOnce = false;

    std::vector<AskedToShow> asked;
    std::vector<QString> calls; ///< the methods, in order

    // What the user does.

    void click(uint number, const QString& action = QStringLiteral("default"));
    void giveToken(uint number, const QString& token);
    void close(uint number);

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void tell(const QString& signal, const QVariantList& arguments);
    void answer(const QDBusMessage& message);

    QDBusConnection m_bus;
    QStringList m_capabilities;
    bool m_isSilent = false;
    std::vector<QDBusMessage> m_unanswered;
    uint m_lastNumber = 40;
};

/// Every answer to a click that the object told, as its token.
class Activations {
public:
    explicit Activations(Vintrel::UserNotifications& notifications) {
        QObject::connect(&notifications, &Vintrel::UserNotifications::activated, &m_context,
                         [this](const QString& token) { tokens.push_back(token.toStdString()); });
    }

    std::vector<std::string> tokens;

private:
    QObject m_context;
};

} // namespace VintrelTests
