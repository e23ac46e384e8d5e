#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/StatusItem.h"
#include "Vintrel/views/ContainersView.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QMetaObject>
#include <QObject>
#include <QTimer>

namespace Vintrel {

class Appearance;
class FileBrowser;
class LoginItem;
class PopoverWindow;

/// The application's presence on the desktop: it owns the one engine, the status item and the windows.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// What the desktop provides; all of it must outlive the delegate.
    struct Services {
        UserNotifications& notifications;
        FileBrowser& fileBrowser;
        LoginItem& loginItem;
        const Appearance& appearance;
        std::function<std::unique_ptr<StatusItem>()> makeStatusItem;
    };

    explicit AppDelegate(Services services, ScanSources sources = {}, ContainerSources containerSources = {});
    ~AppDelegate() override;

    /// Makes the status item and the popover. To be called once, and before any of the following. Starts no
    /// scan.
    void applicationDidFinishLaunching();

    [[nodiscard]] ScanEngine& engine() { return m_engine; }

    [[nodiscard]] StatusItem& statusItem() { return *m_statusItem; }

    [[nodiscard]] PopoverWindow& popover() { return *m_popover; }

    /// How many strays there were when the icon was drawn last.
    [[nodiscard]] int lastStrayCount() const { return m_lastStrayCount; }

    /// What a click on the icon does; its menu is the tray's business.
    void handleClick(const StatusItem::Click& click);

    /// Shows the popover, or brings it to the front: beside the icon if a tray shows one, as soon as that is
    /// known. `activationToken` came with what the user did; it may be empty.
    void showPopover(const QString& activationToken = {});

    /// Carries links out, in order; those that ask for nothing known are ignored.
    void open(const std::vector<std::string>& urls);

    /// Shows the settings, or brings them to the front. There is one such window.
    void openSettings();

    /// Draws the icon anew, unless the popover is shown.
    void updateIcon();

private:
    void togglePopover(const QString& activationToken);
    void presentPopover(bool isBesideIcon, const QString& activationToken);
    void followTray();
    void stopAwaitingTray();
    void popoverDidClose();
    void pulse();
    void makeSettingsWindow();

    Services m_services;
    ContainerSources m_containerSources; // until the popover is filled
    ScanEngine m_engine;
    std::unique_ptr<StatusItem> m_statusItem; // from the launch on
    std::unique_ptr<PopoverWindow> m_popover;
    QMetaObject::Connection m_cancellable;     // the engine's changes
    std::unique_ptr<QWidget> m_settingsWindow; // made at first use, and kept
    int m_lastStrayCount = 0;
    std::optional<QRect> m_clickedIcon; // about where it is, from the last click on it
    QTimer m_awaitingTray;              // runs while the popover is to open as soon as its place is known
    QString m_awaitingToken;
};

} // namespace Vintrel
