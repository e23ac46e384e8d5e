#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/views/ContainersView.h"

#include <memory>
#include <string>
#include <vector>

#include <QObject>

namespace Vintrel {

class FileBrowser;
class LoginItem;
class PopoverWindow;

/// The application's presence on the desktop: it owns the one engine and the windows.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// What the desktop provides; all of it must outlive the delegate.
    struct Services {
        UserNotifications& notifications;
        FileBrowser& fileBrowser;
        LoginItem& loginItem;
    };

    explicit AppDelegate(const Services& services, ScanSources sources = {},
                         ContainerSources containerSources = {});
    ~AppDelegate() override;

    [[nodiscard]] ScanEngine& engine() { return m_engine; }

    [[nodiscard]] PopoverWindow& popover() { return *m_popover; }

    /// Shows the popover, or brings it to the front.
    void showPopover();

    /// Carries links out, in order; those that ask for nothing known are ignored.
    void open(const std::vector<std::string>& urls);

    /// Shows the settings, or brings them to the front. There is one such window.
    void openSettings();

private:
    Services m_services;
    ScanEngine m_engine;
    std::unique_ptr<PopoverWindow> m_popover;
    std::unique_ptr<QWidget> m_settingsWindow; // made at first use
};

} // namespace Vintrel
