#pragma once

#include "Vintrel/shell/FileBrowser.h"

#include <functional>

#include <QDBusConnection>
#include <QObject>
#include <QUrl>

namespace Vintrel {

/// The file manager, by way of the session bus; where none is there, whatever opens folders. Source of the
/// interface: the freedesktop.org file manager interface, org.freedesktop.FileManager1.
class DesktopFileBrowser : public QObject, public FileBrowser {
    Q_OBJECT

public:
    using OpenFolder = std::function<void(const QUrl& folder)>;

    /// `openFolder` is called with what no file manager has taken; by default whatever opens folders.
    explicit DesktopFileBrowser(QDBusConnection bus = QDBusConnection::sessionBus(),
                                OpenFolder openFolder = {});

    [[nodiscard]] QString revealLabel() const override;
    void reveal(const std::string& folder) override;

private:
    QDBusConnection m_bus;
    OpenFolder m_openFolder;
};

} // namespace Vintrel
