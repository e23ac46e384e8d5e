#include "Vintrel/shell/linux/DesktopFileBrowser.h"

#include "Vintrel/shell/linux/BusCall.h"

#include <utility>

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDesktopServices>

namespace Vintrel {

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
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    message.setArguments({QStringList(url.toString(QUrl::FullyEncoded)), QString()});
    BusCall::make<QDBusPendingReply<>>(m_bus, message, this, [this, url](const QDBusPendingReply<>& reply) {
        if (reply.isError()) {
            m_openFolder(url);
        }
    });
}

} // namespace Vintrel
