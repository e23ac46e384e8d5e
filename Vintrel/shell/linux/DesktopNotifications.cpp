#include "Vintrel/shell/linux/DesktopNotifications.h"

#include "Vintrel/shell/linux/BusCall.h"

#include <utility>

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

namespace Vintrel {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString& notificationsInterface = service;

QDBusMessage message(const QString& method) {
    return QDBusMessage::createMethodCall(service, path, notificationsInterface, method);
}

} // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus, QObject* parent)
    : UserNotifications(parent),
      m_bus(std::move(bus)),
      m_serverWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    // The next server counts from the start again.
    connect(&m_serverWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] { m_shown.clear(); });
    m_bus.connect(service, path, notificationsInterface, QStringLiteral("ActivationToken"), this,
                  SLOT(noteActivationToken(uint, QString)));
    m_bus.connect(service, path, notificationsInterface, QStringLiteral("ActionInvoked"), this,
                  SLOT(noteAction(uint, QString)));
    m_bus.connect(service, path, notificationsInterface, QStringLiteral("NotificationClosed"), this,
                  SLOT(noteClosed(uint)));
}

void DesktopNotifications::requestAuthorization(std::function<void(bool granted)> onAnswer) {
    using Reply = QDBusPendingReply<QStringList>;
    BusCall::make<Reply>(m_bus, message(QStringLiteral("GetCapabilities")), this,
                         [this, onAnswer = std::move(onAnswer)](const Reply& reply) {
                             const bool isGranted = !reply.isError();
                             m_authorization = isGranted ? Authorization::authorized : Authorization::denied;
                             onAnswer(isGranted);
                         });
}

void DesktopNotifications::readAuthorization(std::function<void(Authorization)> onAnswer) {
    QTimer::singleShot(0, this, [this, onAnswer = std::move(onAnswer)] { onAnswer(m_authorization); });
}

void DesktopNotifications::add(const UserNotification& notification) {
    // Asked each time: servers come and go, and differ.
    using Reply = QDBusPendingReply<QStringList>;
    BusCall::make<Reply>(m_bus, message(QStringLiteral("GetCapabilities")), this,
                         [this, notification](const Reply& reply) {
                             if (!reply.isError()) {
                                 send(notification, reply.value().contains(QStringLiteral("body-markup")));
                             }
                         });
}

void DesktopNotifications::send(const UserNotification& notification, bool hasMarkup) {
    const QString body = QString::fromStdString(notification.body);
    constexpr uint noneToReplace = 0;
    constexpr int serversOwnTimeout = -1;
    constexpr uchar normal = 1;
    QDBusMessage notify = message(QStringLiteral("Notify"));
    notify << QStringLiteral("Vintrel") << noneToReplace << QStringLiteral("dev.vintrel.Vintrel")
           << QString::fromStdString(notification.title) << (hasMarkup ? body.toHtmlEscaped() : body)
           << QStringList{QStringLiteral("default"), QStringLiteral("Open Vintrel")}
           << QVariantMap{{QStringLiteral("desktop-entry"), QStringLiteral("dev.vintrel.Vintrel")},
                          {QStringLiteral("urgency"), QVariant::fromValue(normal)},
                          {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")}}
           << serversOwnTimeout;
    using Reply = QDBusPendingReply<uint>;
    BusCall::make<Reply>(m_bus, notify, this, [this](const Reply& reply) {
        if (!reply.isError()) {
            m_shown.emplace(reply.value(), QString());
        }
    });
}

void DesktopNotifications::noteActivationToken(uint number, const QString& token) {
    if (const auto shown = m_shown.find(number); shown != m_shown.end()) {
        shown->second = token;
    }
}

void DesktopNotifications::noteAction(uint number, const QString& action) {
    const auto shown = m_shown.find(number);
    if (shown != m_shown.end() && action == QStringLiteral("default")) {
        emit activated(std::exchange(shown->second, QString()));
    }
}

void DesktopNotifications::noteClosed(uint number) {
    m_shown.erase(number);
}

} // namespace Vintrel
