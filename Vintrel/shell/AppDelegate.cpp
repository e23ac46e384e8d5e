#include "Vintrel/shell/AppDelegate.h"

#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/PopoverPlacement.h"
#include "Vintrel/shell/PopoverWindow.h"
#include "Vintrel/shell/StatusIcon.h"
#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/SettingsView.h"
#include "Vintrel/views/parts/AccessibleRole.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <QCoreApplication>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

namespace Vintrel {

using VintrelCore::Bucket;

AppDelegate::AppDelegate(Services services, ScanSources sources, ContainerSources containerSources)
    : m_services(std::move(services)),
      m_containerSources(std::move(containerSources)),
      m_engine(m_services.notifications, std::move(sources)) {
    constexpr std::chrono::seconds longestWait{1}; // trays answer within milliseconds, or hang
    m_awaitingTray.setInterval(longestWait);
    m_awaitingTray.setSingleShot(true);
    connect(&m_awaitingTray, &QTimer::timeout, this, &AppDelegate::stopAwaitingTray);
}

AppDelegate::~AppDelegate() {
    disconnect(m_cancellable); // the engine goes after the status item
}

void AppDelegate::applicationDidFinishLaunching() {
    m_statusItem = m_services.makeStatusItem();
    connect(m_statusItem.get(), &StatusItem::clicked, this, &AppDelegate::handleClick);
    connect(m_statusItem.get(), &StatusItem::openRequested, this, &AppDelegate::showPopover);
    connect(m_statusItem.get(), &StatusItem::quitRequested, this, &QCoreApplication::quit);
    connect(m_statusItem.get(), &StatusItem::presenceChanged, this, &AppDelegate::followTray);
    m_popover = std::make_unique<PopoverWindow>([this] {
        return new MenuBarView(
            m_engine, m_services.fileBrowser, [this] { openSettings(); }, std::move(m_containerSources));
    });
    connect(m_popover.get(), &PopoverWindow::closed, this, &AppDelegate::popoverDidClose);
    connect(&m_services.notifications, &UserNotifications::activated, this, &AppDelegate::showPopover);
    updateIcon();
    m_cancellable = connect(&m_engine, &ScanEngine::changed, this, &AppDelegate::updateIcon);
}

void AppDelegate::handleClick(const StatusItem::Click& click) {
    if (click.place) { // which the cursor helps to understand only now
        m_clickedIcon = PopoverPlacement::anchor(PopoverPlacement::cluesNow(click.place, {}));
    }
    togglePopover(click.activationToken);
}

void AppDelegate::togglePopover(const QString& activationToken) {
    m_awaitingTray.stop(); // the tray shows the icon, or it could not be clicked
    m_awaitingToken.clear();
    if (m_popover->isVisible() && !m_popover->isMinimized()) {
        m_popover->close();
    } else if (!m_popover->takeDismissal()) {
        presentPopover(true, activationToken);
    }
}

void AppDelegate::showPopover(const QString& activationToken) {
    using Presence = StatusItem::Presence;
    if (m_statusItem->presence() != Presence::unknown || m_popover->isVisible()) {
        presentPopover(m_statusItem->presence() == Presence::shown, activationToken);
        return;
    }
    if (!activationToken.isEmpty()) {
        m_awaitingToken = activationToken;
    }
    if (!m_awaitingTray.isActive()) {
        m_awaitingTray.start();
    }
}

void AppDelegate::presentPopover(bool isBesideIcon, const QString& activationToken) {
    if (isBesideIcon && Desktop::canPlaceWindows()) {
        const auto known = m_clickedIcon ? m_clickedIcon : m_statusItem->geometry();
        m_popover->presentBeside(PopoverPlacement::anchor(PopoverPlacement::cluesNow({}, known)),
                                 activationToken);
    } else {
        m_popover->present(activationToken);
    }
}

void AppDelegate::followTray() {
    m_clickedIcon.reset(); // the next tray is somewhere else
    if (m_awaitingTray.isActive() && m_statusItem->presence() != StatusItem::Presence::unknown) {
        stopAwaitingTray();
    }
}

void AppDelegate::stopAwaitingTray() {
    m_awaitingTray.stop();
    presentPopover(m_statusItem->presence() == StatusItem::Presence::shown,
                   std::exchange(m_awaitingToken, {}));
}

void AppDelegate::popoverDidClose() {
    updateIcon();
}

void AppDelegate::updateIcon() {
    if (!m_statusItem || m_popover->isVisible()) {
        return;
    }
    const auto countOf = [this](Bucket bucket) {
        return static_cast<int>(std::ranges::count(m_engine.items(), bucket, &ScanEngine::Item::bucket));
    };
    const int safe = countOf(Bucket::safe);
    const int review = countOf(Bucket::needsReview);
    m_statusItem->setLook(StatusIcon::look({.isScanning = m_engine.isScanning(),
                                            .hasScanned = m_engine.hasScanned(),
                                            .safe = safe,
                                            .review = review,
                                            .version = QCoreApplication::applicationVersion()}));
    const int total = safe + review;
    if (StatusIcon::isPulseDue(m_lastStrayCount, total)) {
        pulse();
    }
    m_lastStrayCount = total;
}

void AppDelegate::pulse() {
    if (!m_services.appearance.settings().prefersReducedMotion) {
        m_statusItem->pulse();
    }
}

void AppDelegate::makeSettingsWindow() {
    constexpr QSize size(360, 620);
    m_settingsWindow = std::make_unique<QWidget>();
    AccessibleRole::set(*m_settingsWindow, QAccessible::Window);
    m_settingsWindow->setWindowTitle(tr("Vintrel Settings"));
    auto* const layout = new QVBoxLayout(m_settingsWindow.get());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new SettingsView(m_engine, m_services.loginItem, m_settingsWindow.get()));
    const QRect room = m_settingsWindow->screen()->availableGeometry();
    m_settingsWindow->resize(size.boundedTo(room.size()));
    m_settingsWindow->move(room.center() - m_settingsWindow->rect().center());
    auto* const closing = new QShortcut(QKeySequence::Cancel, m_settingsWindow.get());
    connect(closing, &QShortcut::activated, m_settingsWindow.get(), &QWidget::close);
}

void AppDelegate::open(const std::vector<std::string>& urls) {
    for (const std::string& url : urls) {
        if (const auto command = VintrelCore::URLScheme::parse(url)) {
            m_engine.perform(*command);
        }
    }
}

void AppDelegate::openSettings() {
    if (!m_settingsWindow) {
        makeSettingsWindow();
    }
    Desktop::present(*m_settingsWindow, {});
}

} // namespace Vintrel
