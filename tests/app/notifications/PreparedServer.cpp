#include "tests/app/notifications/PreparedServer.h"

#include <stdexcept>
#include <utility>

#include <QDBusArgument>
#include <QDBusError>

namespace VintrelTests {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");

} // namespace

PreparedServer::PreparedServer(SessionBus& bus, QStringList capabilities)
    : m_bus(bus.connect()), m_capabilities(std::move(capabilities)) {
    if (!m_bus.registerVirtualObject(path, this)) {
        throw std::runtime_error("no object on the bus");
    }
    arrive();
}

PreparedServer::~PreparedServer() {
    m_bus.unregisterObject(path);
    leave();
}

void PreparedServer::arrive() {
    if (!m_bus.registerService(service)) {
        throw std::runtime_error("there is another notification server");
    }
}

void PreparedServer::leave() {
    m_bus.unregisterService(service);
}

void PreparedServer::answerAll() {
    m_isSilent = false;
    for (const QDBusMessage& message : std::exchange(m_unanswered, {})) {
        answer(message);
    }
}

void PreparedServer::click(uint number, const QString& action) {
    tell(QStringLiteral("ActionInvoked"), {number, action});
}

void PreparedServer::giveToken(uint number, const QString& token) {
    tell(QStringLiteral("ActivationToken"), {number, token});
}

void PreparedServer::close(uint number) {
    constexpr uint byTheUser = 2;
    tell(QStringLiteral("NotificationClosed"), {number, byTheUser});
}

QString PreparedServer::introspect(const QString&) const {
    return {};
}

bool PreparedServer::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (message.interface() != service) {
        return false;
    }
    calls.push_back(message.member());
    message.setDelayedReply(true);
    if (m_isSilent) {
        m_unanswered.push_back(message);
    } else {
        answer(message);
    }
    return true;
}

void PreparedServer::answer(const QDBusMessage& message) {
    if (message.member() == QLatin1String("GetCapabilities")) {
        m_bus.send(errorForCapabilities ? message.createErrorReply(*errorForCapabilities, "no")
                                        : message.createReply(QVariant(m_capabilities)));
        return;
    }
    if (message.member() == QLatin1String("GetServerInformation")) {
        m_bus.send(message.createReply(QVariantList{"prepared", "Vintrel's tests", "1", "1.2"}));
        return;
    }
    if (message.member() != QLatin1String("Notify")) {
        m_bus.send(message.createErrorReply(QDBusError::UnknownMethod, message.member()));
        return;
    }
    if (errorForShowing) {
        m_bus.send(message.createErrorReply(*errorForShowing, "no"));
        return;
    }
    const QVariantList arguments = message.arguments();
    asked.push_back({.number = ++m_lastNumber,
                     .signature = message.signature(),
                     .appName = arguments.value(0).toString(),
                     .replaces = arguments.value(1).toUInt(),
                     .summary = arguments.value(3).toString(),
                     .body = arguments.value(4).toString(),
                     .actions = arguments.value(5).toStringList(),
                     .hints = qdbus_cast<QVariantMap>(arguments.value(6))});
    m_bus.send(message.createReply(m_lastNumber));
    if (clicksAtOnce) {
        click(m_lastNumber);
    }
}

void PreparedServer::tell(const QString& signal, const QVariantList& arguments) {
    auto message = QDBusMessage::createSignal(path, service, signal);
    message.setArguments(arguments);
    m_bus.send(message);
}

} // namespace VintrelTests
