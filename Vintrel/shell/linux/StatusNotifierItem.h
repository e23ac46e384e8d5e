#pragma once

#include "Vintrel/shell/PaintedStatusItem.h"
#include "Vintrel/shell/linux/StatusMenu.h"
#include "Vintrel/shell/linux/StatusNotifierObject.h"

#include <memory>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QMenu>
#include <QString>

namespace Vintrel {

/// The status item over the bus: tells whoever collects them for the trays (the watcher) of itself, whenever
/// one appears. Nothing ever waits for an answer.
class StatusNotifierItem : public PaintedStatusItem {
    Q_OBJECT

public:
    StatusNotifierItem(const Appearance& appearance, StatusMenu::Content menu, QDBusConnection bus,
                       QObject* parent = nullptr);
    ~StatusNotifierItem() override;

    /// Never known on this way.
    [[nodiscard]] std::optional<QRect> geometry() const override { return std::nullopt; }

    [[nodiscard]] Presence presence() const override { return m_presence; }

protected:
    void display(const QList<QImage>& pictures, const StatusIcon::Look& look) override;

private slots:
    void followHost();

private: // NOLINT(readability-redundant-access-specifiers): what follows is no slot
    void offer();
    void lookForWatcher();
    void take(bool isWatcherThere);
    void registerItem(int attempt);
    void askForHost();
    void setPresence(Presence presence);
    void showContextMenu(int x, int y);

    QDBusConnection m_bus;
    QString m_service;
    StatusNotifierObject m_object;
    StatusMenu m_menu;
    QDBusServiceWatcher m_serviceWatcher;
    int m_watchersSeen = 0; // so that answers of an earlier one are told from the present one's
    bool m_isRegistered = false;
    Presence m_presence = Presence::unknown;
    QString m_token;
    std::unique_ptr<QMenu> m_contextMenu; // made when a tray leaves the menu to us
};

} // namespace Vintrel
