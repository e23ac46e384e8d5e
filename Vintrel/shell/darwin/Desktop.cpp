#include "Vintrel/shell/Desktop.h"

#include <utility>

namespace Vintrel::Desktop {

namespace {

/// There are no notifications on this system yet, so every request is refused.
class NoNotifications : public UserNotifications {
public:
    void requestAuthorization(std::function<void(bool granted)> onAnswer) override {
        QMetaObject::invokeMethod(
            this, [onAnswer = std::move(onAnswer)] { onAnswer(false); }, Qt::QueuedConnection);
    }

    void readAuthorization(std::function<void(Authorization)> onAnswer) override {
        QMetaObject::invokeMethod(
            this, [onAnswer = std::move(onAnswer)] { onAnswer(Authorization::denied); },
            Qt::QueuedConnection);
    }

    void add(const UserNotification&) override {}
};

} // namespace

std::unique_ptr<UserNotifications> makeUserNotifications() {
    return std::make_unique<NoNotifications>();
}

} // namespace Vintrel::Desktop
