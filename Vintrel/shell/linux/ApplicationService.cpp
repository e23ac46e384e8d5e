#include "Vintrel/shell/linux/ApplicationService.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/linux/ApplicationAdaptor.h"
#include "Vintrel/shell/linux/BusCall.h"
#include "Vintrel/shell/linux/RunnerAdaptor.h"
#include "Vintrel/shell/linux/SearchProviderAdaptor.h"
#include "Vintrel/shell/linux/SessionNames.h"
#include "Vintrel/shell/linux/ShortcutsAdaptor.h"
#include "VintrelCore/platform/Platform.h"

#include <utility>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace Vintrel {

ApplicationService::ApplicationService(QDBusConnection bus, ApplicationRequests& requests,
                                       std::string globalShortcutsMark)
    : m_bus(std::move(bus)),
      m_requests(requests),
      m_globalShortcuts(m_bus, requests, std::move(globalShortcutsMark)) {
    new ApplicationAdaptor(&m_application, m_bus, requests, *this);
    new ShortcutsAdaptor(&m_application, m_bus, requests);
    new SearchProviderAdaptor(&m_searchProvider, requests);
    new RunnerAdaptor(&m_runner, requests);
}

ApplicationService::~ApplicationService() {
    // Asynchronously: what hangs must not hold up the end of the program.
    m_bus.send(BusCall::toBus(QStringLiteral("ReleaseName")) << SessionNames::service);
}

ApplicationInstance::Claim ApplicationService::claim() {
    if (!m_bus.isConnected()) {
        return Claim::unenforceable;
    }
    // The objects come first: with the name come the calls that the bus has kept for its owner.
    m_bus.registerObject(SessionNames::application, &m_application);
    m_bus.registerObject(SessionNames::searchProvider, &m_searchProvider);
    m_bus.registerObject(SessionNames::runner, &m_runner);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        m_bus.interface()->registerService(SessionNames::service);
    if (!reply.isValid()) {
        return Claim::unenforceable;
    }
    if (reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        return Claim::taken;
    }
    m_globalShortcuts.restore();
    return Claim::granted;
}

bool ApplicationService::activateAction(const std::string& name) {
    if (name == ApplicationActions::bindGlobalShortcuts) {
        m_globalShortcuts.bind();
        return true;
    }
    const AppShortcut* const shortcut = VintrelShortcuts::find(name);
    if (shortcut != nullptr) {
        m_requests.performAndTell(*shortcut);
    }
    return shortcut != nullptr;
}

namespace Desktop {

std::unique_ptr<ApplicationInstance> makeApplicationInstance(ApplicationRequests& requests) {
    const std::string folder = VintrelCore::Platform::dataFolder();
    return std::make_unique<ApplicationService>(QDBusConnection::sessionBus(), requests,
                                                folder.empty() ? folder
                                                               : folder + "/Vintrel/global-shortcuts");
}

} // namespace Desktop

} // namespace Vintrel
