#include "Vintrel/shell/linux/DesktopFileBrowser.h"

#include <utility>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>

namespace Vintrel {

namespace {

/// A file manager may have to start first.
constexpr int patience = 10'000; // milliseconds

} // namespace

DesktopFileBrowser::DesktopFileBrowser(QDBusConnection bus, OpenFolder openFolder)
    : m_bus(std::move(bus)), m_openFolder(std::move(openFolder)) {
    if (!m_openFolder) {
        m_openFolder = [](const QUrl& folder) { QDesktopServices::openUrl(folder); };
    }
}

QString DesktopFileBrowser::revealLabel() const {
    return tr("Reveal working directory in File Manager");
}

void DesktopFileBrowser::reveal(const std::string& folder) {
    const QUrl url = QUrl::fromLocalFile(QString::fromStdString(folder));
    if (!m_bus.isConnected()) { // a call would never be answered
        m_openFolder(url);
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    message.setArguments({QStringList(url.toString(QUrl::FullyEncoded)), QString()});
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, patience), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, url](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (finished->isError()) {
                    m_openFolder(url);
                }
            });
}

} // namespace Vintrel
