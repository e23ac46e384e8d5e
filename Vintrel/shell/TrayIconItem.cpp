#include "Vintrel/shell/TrayIconItem.h"

#include "Vintrel/shell/StatusContextMenu.h"

#include <QIcon>
#include <QPixmap>

namespace Vintrel {

TrayIconItem::TrayIconItem(const Appearance& appearance, QObject* parent)
    : PaintedStatusItem(appearance, parent), m_menu(makeStatusContextMenu(*this)) {
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
    const QRect geometry = m_icon.geometry();
    return geometry.isEmpty() ? std::nullopt : std::optional(geometry);
}

StatusItem::Presence TrayIconItem::presence() const {
    return m_icon.isVisible() && QSystemTrayIcon::isSystemTrayAvailable() ? Presence::shown
                                                                          : Presence::absent;
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
    m_icon.show();
}

} // namespace Vintrel
