#include "Vintrel/shell/VintrelApp.h"

#include "Vintrel/shell/PopoverWindow.h"
#include "Vintrel/shell/StartRequest.h"
#include "Vintrel/shell/StatusItem.h"

#include <utility>

#include <QApplication>
#include <QSessionManager>

namespace Vintrel {

VintrelApp::VintrelApp(AppDelegate::Services services, ScanSources sources, ContainerSources containerSources)
    : m_appDelegate(std::move(services), std::move(sources), std::move(containerSources)) {
    QApplication::setQuitOnLastWindowClosed(false); // the tray decides that, which comes and goes
    connect(qApp, &QGuiApplication::lastWindowClosed, this, &VintrelApp::followLastWindow);
    // Whoever wants it to start with the session says so in the settings.
    connect(
        qApp, &QGuiApplication::saveStateRequest, this,
        [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
    m_appDelegate.applicationDidFinishLaunching();
    connect(&m_appDelegate.statusItem(), &StatusItem::presenceChanged, this, [this] {
        showWithoutTray();
        endWithoutTray();
    });
}

void VintrelApp::follow(const StartRequest& request) {
    m_endsWithWindow = request.isToShow;
    m_showsWithoutTray = request.isPlain();
    showWithoutTray();
}

void VintrelApp::showWithoutTray() {
    const StatusItem::Presence presence = m_appDelegate.statusItem().presence();
    if (presence != StatusItem::Presence::unknown && std::exchange(m_showsWithoutTray, false) &&
        presence == StatusItem::Presence::absent) {
        m_appDelegate.showPopover();
    }
}

void VintrelApp::followLastWindow() {
    m_isToEnd = m_endsWithWindow;
    endWithoutTray();
}

void VintrelApp::endWithoutTray() {
    const StatusItem::Presence presence = m_appDelegate.statusItem().presence();
    if (presence != StatusItem::Presence::unknown && std::exchange(m_isToEnd, false) &&
        presence == StatusItem::Presence::absent && !m_appDelegate.popover().isVisible()) {
        QApplication::quit();
    }
}

} // namespace Vintrel
