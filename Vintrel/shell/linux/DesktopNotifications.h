#pragma once

#include "Vintrel/engine/UserNotifications.h"

#include <functional>
#include <unordered_map>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QString>

namespace Vintrel {

/// Notifications by way of the session bus. Nobody is asked for permission here: a desktop that can show
/// notifications has granted it, and one that cannot has refused. Source of the interface: the Desktop
/// Notifications Specification 1.2.
class DesktopNotifications : public UserNotifications {
    Q_OBJECT

public:
    explicit DesktopNotifications(QDBusConnection bus = QDBusConnection::sessionBus(),
                                  QObject* parent = nullptr);

    void requestAuthorization(std::function<void(bool granted)> onAnswer) override;
    void readAuthorization(std::function<void(Authorization)> onAnswer) override;
    void add(const UserNotification& notification) override;

private slots:
    void noteActivationToken(uint number, const QString& token);
    void noteAction(uint number, const QString& action);
    void noteClosed(uint number);

private: // NOLINT(readability-redundant-access-specifiers): what follows is no slot
    void send(const UserNotification& notification, bool hasMarkup);

    QDBusConnection m_bus;
    Authorization m_authorization = Authorization::notDetermined;
    /// By the number that the server gave it; with the token for the action that follows, if one has come.
    std::unordered_map<uint, QString> m_shown;
    QDBusServiceWatcher m_serverWatcher;
};

} // namespace Vintrel
