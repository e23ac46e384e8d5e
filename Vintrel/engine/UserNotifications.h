#pragma once

#include <functional>
#include <string>

#include <QObject>

namespace Vintrel {

/// A message to the user, with the desktop's usual sound, delivered at once.
struct UserNotification {
    std::string title;
    std::string body; ///< plain text

    bool operator==(const UserNotification&) const = default;
};

/// The desktop's notifications. Asynchronous: answers come on the thread that asked, some time later, and
/// not at all when this is gone.
class UserNotifications : public QObject {
    Q_OBJECT

public:
    enum class Authorization { notDetermined, denied, authorized };

    using QObject::QObject;

    /// Asks whether alerts and sounds may be delivered; `onAnswer` gets false when the user refuses or nobody
    /// can deliver them.
    virtual void requestAuthorization(std::function<void(bool granted)> onAnswer) = 0;

    /// What is known about that without asking.
    virtual void readAuthorization(std::function<void(Authorization)> onAnswer) = 0;

    /// Delivers a notification, as one of its own. What becomes of it is not told.
    virtual void add(const UserNotification& notification) = 0;

signals:
    /// The user answered one of ours by a click. `activationToken` lets a window come to the front where the
    /// desktop wants one; it may be empty.
    void activated(const QString& activationToken);
};

} // namespace Vintrel
