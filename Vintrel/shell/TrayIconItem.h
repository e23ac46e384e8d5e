#pragma once

#include "Vintrel/shell/PaintedStatusItem.h"

#include <memory>

#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

namespace Vintrel {

/// The status item in the way of the toolkit: for trays of X11 that know no other, and for other systems. It
/// appears as soon as there is such a tray.
class TrayIconItem : public PaintedStatusItem {
    Q_OBJECT

public:
    explicit TrayIconItem(const Appearance& appearance, QObject* parent = nullptr);
    ~TrayIconItem() override;

    [[nodiscard]] std::optional<QRect> geometry() const override;
    [[nodiscard]] Presence presence() const override;

protected:
    void display(const QList<QImage>& pictures, const StatusIcon::Look& look) override;

private:
    [[nodiscard]] bool isDocked() const;
    void followDocking();

    std::unique_ptr<QMenu> m_menu;
    QSystemTrayIcon m_icon;
    QTimer m_docking; // runs until the tray has taken the icon in, of which nobody tells
    int m_looks = 0;
};

} // namespace Vintrel
