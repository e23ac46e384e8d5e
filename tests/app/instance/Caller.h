#pragma once

#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QString>
#include <QVariantList>

namespace VintrelTests {

/// Another program on the bus, which calls one interface of one of this program's objects.
class Caller {
public:
    Caller(SessionBus& bus, QString path, QString interface)
        : m_bus(bus.connect()), m_path(std::move(path)), m_interface(std::move(interface)) {}

    /// Whose answer is yet to come.
    [[nodiscard]] QDBusPendingCall begin(const QString& method, const QVariantList& arguments = {}) const {
        QDBusMessage message = QDBusMessage::createMethodCall(QStringLiteral("dev.vintrel.Vintrel"), m_path,
                                                              m_interface, method);
        message.setArguments(arguments);
        return m_bus.asyncCall(message);
    }

    /// The answer, or the error.
    [[nodiscard]] QDBusMessage call(const QString& method, const QVariantList& arguments = {}) const {
        const QDBusPendingCall pending = begin(method, arguments);
        EXPECT_TRUE(spinUntil([&pending] { return pending.isFinished(); })) << method.toStdString();
        return pending.reply();
    }

private:
    QDBusConnection m_bus;
    QString m_path;
    QString m_interface;
};

} // namespace VintrelTests
