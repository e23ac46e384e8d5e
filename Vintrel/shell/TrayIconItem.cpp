#include "Vintrel/shell/TrayIconItem.h"

#include "Vintrel/shell/StatusContextMenu.h"

#include <chrono>

#include <QIcon>
#include <QPixmap>

namespace Vintrel {

TrayIconItem::TrayIconItem(const Appearance& appearance, QObject* parent)
    : PaintedStatusItem(appearance, parent), m_menu(makeStatusContextMenu(*this)) {
    constexpr std::chrono::milliseconds betweenLooks{50};
    m_docking.setInterval(betweenLooks);
    connect(&m_docking, &QTimer::timeout, this, &TrayIconItem::followDocking);
    m_icon.setContextMenu(m_menu.get());
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // The second of two quick clicks is a click all the same.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick ||
            reason == QSystemTrayIcon::MiddleClick) {
            emit clicked({});
        }
    });
}

TrayIconItem::~TrayIconItem() = default;

std::optional<QRect> TrayIconItem::geometry() const {
    return isDocked() ? std::optional(m_icon.geometry()) : std::nullopt;
}

/// Until a tray takes it in, the icon is a window in the corner of the screen.
bool TrayIconItem::isDocked() const {
    const QRect geometry = m_icon.geometry();
    return !geometry.isEmpty() && geometry.topLeft() != QPoint();
}

void TrayIconItem::followDocking() {
    constexpr int mostLooks = 20;
    if (isDocked() || ++m_looks == mostLooks) {
        m_docking.stop();
        emit presenceChanged();
    }
}

StatusItem::Presence TrayIconItem::presence() const {
    if (!m_icon.isVisible() || !QSystemTrayIcon::isSystemTrayAvailable()) {
        return Presence::absent;
    }
    return m_docking.isActive() ? Presence::unknown : Presence::shown;
}

void TrayIconItem::display(const QList<QImage>& pictures, const StatusIcon::Look& look) {
    QIcon icon;
    for (const QImage& picture : pictures) {
        icon.addPixmap(QPixmap::fromImage(picture));
    }
    m_icon.setIcon(icon);
    const QString tooltip = look.tooltipTitle + QLatin1Char('\n') + look.tooltip;
    if (m_icon.toolTip() != tooltip) {
        m_icon.setToolTip(tooltip);
    }
    if (!m_icon.isVisible()) {
        m_icon.show();
        if (QSystemTrayIcon::isSystemTrayAvailable()) {
            m_docking.start();
        }
    }
}

} // namespace Vintrel
