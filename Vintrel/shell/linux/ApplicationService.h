#pragma once

#include "Vintrel/shell/ApplicationInstance.h"
#include "Vintrel/shell/linux/GlobalShortcuts.h"

#include <string>

#include <QDBusConnection>
#include <QObject>

namespace Vintrel {

class ApplicationRequests;

/// The program on the session bus: whoever owns its name there is the one instance. Under the name it offers
/// what launchers and second starts call, its shortcuts, and results for the desktop's search.
class ApplicationService : public ApplicationInstance {
public:
    /// `requests` must outlive it. `globalShortcutsMark`: the file that remembers whether the user wants
    /// global shortcuts.
    ApplicationService(QDBusConnection bus, ApplicationRequests& requests, std::string globalShortcutsMark);

    /// Gives the name back.
    ~ApplicationService() override;

    [[nodiscard]] Claim claim() override;
    bool activateAction(const std::string& name) override;

private:
    QDBusConnection m_bus;
    ApplicationRequests& m_requests;
    GlobalShortcuts m_globalShortcuts;
    QObject m_application;
    QObject m_searchProvider;
    QObject m_runner;
};

} // namespace Vintrel
