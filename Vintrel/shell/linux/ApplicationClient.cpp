#include "Vintrel/shell/linux/ApplicationClient.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/linux/BusCall.h"
#include "Vintrel/shell/linux/SessionNames.h"

#include <algorithm>
#include <utility>

#include <QDBusError>
#include <QDeadlineTimer>
#include <QStringList>
#include <QThread>
#include <QVariantList>
#include <QVariantMap>

namespace Vintrel {

namespace {

constexpr unsigned long beforeNextTry = 10; // milliseconds; one that is ending refuses calls for a moment

QVariantMap platformData() {
    QVariantMap data;
    const auto take = [&data](const QString& key, const char* variable) {
        if (const QString value = qEnvironmentVariable(variable); !value.isEmpty()) {
            data.insert(key, value);
        }
    };
    take(SessionNames::startupID, "DESKTOP_STARTUP_ID");
    take(SessionNames::activationToken, "XDG_ACTIVATION_TOKEN");
    return data;
}

QDBusMessage call(const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(SessionNames::service, SessionNames::application,
                                                          SessionNames::applicationInterface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false); // not every request is for one that the bus starts
    return message;
}

/// Whether the other instance understood the call and declined it; else it was starting, ending or hanging.
bool isRefusal(const QDBusMessage& reply) {
    return QDBusError(reply).type() == QDBusError::InvalidArgs;
}

} // namespace

ApplicationClient::ApplicationClient(QDBusConnection bus, std::chrono::milliseconds patience)
    : m_bus(std::move(bus)), m_patience(patience) {}

QList<QDBusMessage> ApplicationClient::calls(const StartRequest& request) {
    QList<QDBusMessage> calls;
    if (request.isToShow || request.isPlain()) {
        calls.append(call(QStringLiteral("Activate"), {platformData()}));
    }
    if (!request.urls.empty()) {
        QStringList urls;
        std::ranges::transform(request.urls, std::back_inserter(urls), &QString::fromStdString);
        calls.append(call(QStringLiteral("Open"), {urls, platformData()}));
    }
    if (!request.action.empty()) {
        calls.append(call(QStringLiteral("ActivateAction"),
                          {QString::fromStdString(request.action), QVariantList(), platformData()}));
    }
    return calls;
}

Handover ApplicationClient::handOver(const StartRequest& request) const {
    if (!m_bus.isConnected()) {
        return Handover::noSession;
    }
    const Handover handover = callOther(request);
    if (handover != Handover::nobody || !request.isErrand() || !startByBus()) {
        return handover;
    }
    return callOther(request);
}

Handover ApplicationClient::callOther(const StartRequest& request) const {
    const QDeadlineTimer deadline(m_patience);
    const QList<QDBusMessage> toCall = calls(request);
    if (toCall.isEmpty()) {
        return isOwned() ? Handover::delivered : Handover::nobody;
    }
    for (const QDBusMessage& message : toCall) {
        while (true) {
            const int left = static_cast<int>(deadline.remainingTime());
            const QDBusMessage reply = m_bus.call(message, QDBus::Block, std::max(left, 1));
            if (reply.type() == QDBusMessage::ReplyMessage) {
                break;
            }
            // One that has ended meanwhile leaves its place to this one, or to the next.
            if (!isOwned()) {
                return Handover::nobody;
            }
            if (isRefusal(reply)) {
                return Handover::refused;
            }
            if (deadline.hasExpired()) {
                return Handover::failed;
            }
            QThread::msleep(beforeNextTry);
        }
    }
    return Handover::delivered;
}

/// The start alone, without a call that would still be delivered after this one has given up waiting for it.
/// Source: D-Bus specification, "Message Bus Messages".
bool ApplicationClient::startByBus() const {
    const QDBusMessage question = BusCall::toBus(QStringLiteral("StartServiceByName"))
                                  << SessionNames::service << 0U; // no flags are defined
    const QDBusMessage reply = m_bus.call(question, QDBus::Block, static_cast<int>(m_patience.count()));
    return reply.type() == QDBusMessage::ReplyMessage;
}

bool ApplicationClient::isOwned() const {
    const QDBusMessage question = BusCall::toBus(QStringLiteral("NameHasOwner")) << SessionNames::service;
    const QDBusMessage reply = m_bus.call(question, QDBus::Block, static_cast<int>(m_patience.count()));
    return reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).toBool();
}

namespace Desktop {

Handover handOver(const StartRequest& request) {
    const QString name = QStringLiteral("vintrel-start");
    const Handover handover =
        ApplicationClient(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)).handOver(request);
    QDBusConnection::disconnectFromBus(name);
    return handover;
}

} // namespace Desktop

} // namespace Vintrel
