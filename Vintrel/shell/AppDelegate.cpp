#include "Vintrel/shell/AppDelegate.h"

#include "Vintrel/shell/PopoverWindow.h"
#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/SettingsView.h"
#include "Vintrel/views/parts/AccessibleRole.h"

#include <utility>

#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

namespace Vintrel {

AppDelegate::AppDelegate(const Services& services, ScanSources sources, ContainerSources containerSources)
    : m_services(services), m_engine(services.notifications, std::move(sources)) {
    m_popover = std::make_unique<PopoverWindow>(new MenuBarView(
        m_engine, services.fileBrowser, [this] { openSettings(); }, std::move(containerSources)));
    connect(&services.notifications, &UserNotifications::activated, this, &AppDelegate::showPopover);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::showPopover() {
    m_popover->present();
}

void AppDelegate::open(const std::vector<std::string>& urls) {
    for (const std::string& url : urls) {
        if (const auto command = VintrelCore::URLScheme::parse(url)) {
            m_engine.perform(*command);
        }
    }
}

void AppDelegate::openSettings() {
    constexpr QSize size(360, 620);
    if (!m_settingsWindow) {
        m_settingsWindow = std::make_unique<QWidget>();
        AccessibleRole::set(*m_settingsWindow, QAccessible::Window);
        m_settingsWindow->setWindowTitle(tr("Vintrel Settings"));
        auto* const layout = new QVBoxLayout(m_settingsWindow.get());
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(new SettingsView(m_engine, m_services.loginItem, m_settingsWindow.get()));
        m_settingsWindow->resize(size.boundedTo(m_settingsWindow->screen()->availableSize()));
        auto* const closing = new QShortcut(QKeySequence::Cancel, m_settingsWindow.get());
        connect(closing, &QShortcut::activated, m_settingsWindow.get(), &QWidget::close);
    }
    m_settingsWindow->show();
    m_settingsWindow->raise();
    m_settingsWindow->activateWindow();
}

} // namespace Vintrel
