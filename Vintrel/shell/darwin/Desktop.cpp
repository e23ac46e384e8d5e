#include "Vintrel/shell/Desktop.h"

#include <utility>

#include <QDesktopServices>
#include <QUrl>

namespace Vintrel::Desktop {

namespace {

/// Nothing here calls this system's notifications, so every request is refused.
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

class Finder : public FileBrowser {
public:
    [[nodiscard]] QString revealLabel() const override {
        return QStringLiteral("Reveal working directory in Finder");
    }

    void reveal(const std::string& folder) override {
        QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder)));
    }
};

} // namespace

std::unique_ptr<UserNotifications> makeUserNotifications() {
    return std::make_unique<NoNotifications>();
}

std::unique_ptr<FileBrowser> makeFileBrowser() {
    return std::make_unique<Finder>();
}

void giveMemoryBack() {} // the system's allocator does it by itself

bool hasGraphicalSession() {
    return true;
}

} // namespace Vintrel::Desktop
