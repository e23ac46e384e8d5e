#include "Vintrel/shell/AppDelegate.h"

#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/PopoverWindow.h"
#include "Vintrel/shell/StatusIcon.h"
#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/SettingsView.h"
#include "Vintrel/views/parts/AccessibleRole.h"

#include <algorithm>
#include <utility>

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

namespace Vintrel {

using VintrelCore::Bucket;

AppDelegate::AppDelegate(Services services, ScanSources sources, ContainerSources containerSources)
    : m_services(std::move(services)),
      m_containerSources(std::move(containerSources)),
      m_engine(m_services.notifications, std::move(sources)) {}

AppDelegate::~AppDelegate() {
    disconnect(m_cancellable); // the engine goes after the status item
}

void AppDelegate::applicationDidFinishLaunching() {
    m_statusItem = m_services.makeStatusItem();
    connect(m_statusItem.get(), &StatusItem::clicked, this, &AppDelegate::handleClick);
    connect(m_statusItem.get(), &StatusItem::openRequested, this, &AppDelegate::showPopover);
    connect(m_statusItem.get(), &StatusItem::quitRequested, this, &QCoreApplication::quit);
    m_popover = std::make_unique<PopoverWindow>(new MenuBarView(
        m_engine, m_services.fileBrowser, [this] { openSettings(); }, std::move(m_containerSources)));
    connect(m_popover.get(), &PopoverWindow::closed, this, &AppDelegate::popoverDidClose);
    connect(&m_services.notifications, &UserNotifications::activated, this, &AppDelegate::showPopover);
    updateIcon();
    m_cancellable = connect(&m_engine, &ScanEngine::changed, this, &AppDelegate::updateIcon);
}

void AppDelegate::handleClick(const StatusItem::Click& click) {
    if (click.place) {
        m_lastPlace = click.place;
    }
    togglePopover(click);
}

void AppDelegate::togglePopover(const StatusItem::Click& click) {
    if (m_popover->isVisible()) {
        m_popover->close();
    } else if (!m_popover->takeDismissal()) {
        presentBesideIcon(click);
    }
}

void AppDelegate::showPopover(const QString& activationToken) {
    if (m_statusItem->isShown()) {
        presentBesideIcon({.place = m_lastPlace, .activationToken = activationToken});
    } else {
        m_popover->present(activationToken);
    }
}

void AppDelegate::presentBesideIcon(const StatusItem::Click& click) {
    if (Desktop::canPlaceWindows()) {
        m_popover->presentBeside({.click = click.place,
                                  .icon = m_statusItem->geometry(),
                                  .cursor = QCursor::pos(),
                                  .scale = QGuiApplication::primaryScreen()->devicePixelRatio()},
                                 click.activationToken);
    } else {
        m_popover->present(click.activationToken);
    }
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
                                            .hasScanned = m_engine.previousPIDs().has_value(),
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
    m_settingsWindow->show();
    Desktop::activate(*m_settingsWindow, {});
}

} // namespace Vintrel
