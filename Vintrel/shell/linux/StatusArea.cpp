#include "Vintrel/shell/linux/StatusArea.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/TrayIconItem.h"
#include "Vintrel/shell/linux/PanelSchemes.h"

#include <chrono>
#include <utility>

#include <QGuiApplication>

namespace Vintrel {

StatusArea::StatusArea(std::unique_ptr<StatusNotifierItem> notifierItem, MakeFallback makeFallback,
                       QObject* parent)
    : StatusItem(parent), m_notifierItem(std::move(notifierItem)), m_makeFallback(std::move(makeFallback)) {
    // A panel that starts offers its service first and its tray a moment later.
    constexpr std::chrono::milliseconds beforeFallback{300};
    m_fallbackTimer.setInterval(beforeFallback);
    m_fallbackTimer.setSingleShot(true);
    connect(&m_fallbackTimer, &QTimer::timeout, this, &StatusArea::makeFallback);
    forward(*m_notifierItem);
    connect(m_notifierItem.get(), &StatusItem::presenceChanged, this, &StatusArea::choose);
    choose();
}

StatusArea::~StatusArea() = default;

void StatusArea::forward(StatusItem& item) {
    connect(&item, &StatusItem::clicked, this, &StatusItem::clicked);
    connect(&item, &StatusItem::openRequested, this, &StatusItem::openRequested);
    connect(&item, &StatusItem::quitRequested, this, &StatusItem::quitRequested);
}

void StatusArea::choose() {
    switch (m_notifierItem->presence()) {
    case Presence::shown:
        m_fallbackTimer.stop();
        m_fallback.reset();
        break;
    case Presence::absent:
        if (!m_fallback && m_makeFallback) {
            m_fallbackTimer.start();
        }
        break;
    case Presence::unknown:
        m_fallbackTimer.stop();
        break;
    }
    emit presenceChanged();
}

void StatusArea::makeFallback() {
    m_fallback = m_makeFallback();
    forward(*m_fallback);
    connect(m_fallback.get(), &StatusItem::presenceChanged, this, &StatusItem::presenceChanged);
    if (m_look) {
        m_fallback->setLook(*m_look);
    }
    emit presenceChanged();
}

StatusItem& StatusArea::chosen() const {
    return m_fallback ? *m_fallback : *m_notifierItem;
}

void StatusArea::setLook(const StatusIcon::Look& look) {
    m_look = look;
    m_notifierItem->setLook(look); // for the tray that may come
    if (m_fallback) {
        m_fallback->setLook(look);
    }
}

void StatusArea::pulse() {
    if (presence() == Presence::shown) {
        chosen().pulse();
    }
}

std::optional<QRect> StatusArea::geometry() const {
    return chosen().geometry();
}

StatusItem::Presence StatusArea::presence() const {
    return m_fallbackTimer.isActive() ? Presence::unknown : chosen().presence();
}

namespace Desktop {

std::unique_ptr<StatusItem> makeStatusItem(const Appearance& appearance) {
    const QString desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP");
    const auto menu =
        clicksOpenMenus(desktops) ? StatusMenu::Content::openAndQuit : StatusMenu::Content::quit;
    auto notifierItem = std::make_unique<StatusNotifierItem>(appearance, menu, QDBusConnection::sessionBus());
    StatusArea::MakeFallback makeFallback;
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        makeFallback = [&appearance] { return std::make_unique<TrayIconItem>(appearance); };
    }
    return std::make_unique<StatusArea>(std::move(notifierItem), std::move(makeFallback));
}

PanelScheme panelScheme(const AppearanceSettings& settings) {
    return panelSchemeOf(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), settings.prefersDark);
}

} // namespace Desktop

} // namespace Vintrel
