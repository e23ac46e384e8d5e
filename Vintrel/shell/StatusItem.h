#pragma once

#include "Vintrel/shell/StatusIcon.h"

#include <optional>

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>

namespace Vintrel {

/// The icon in the desktop's tray.
class StatusItem : public QObject {
    Q_OBJECT

public:
    /// What a tray says of a click.
    struct Click {
        std::optional<QPoint> place; ///< on the screen, in device-independent pixels
        QString activationToken;     ///< lets a window come to the front; may be empty
    };

    /// Whether some tray shows the icon.
    enum class Presence {
        unknown, ///< whoever would show it has not answered yet
        absent,
        shown,
    };

    using QObject::QObject;

    /// Shows it from now on. What is so already is not shown again.
    virtual void setLook(const StatusIcon::Look& look) = 0;

    /// Draws attention once: fades out, and in again.
    virtual void pulse() = 0;

    /// Where the icon stands on the screen, where that can be known.
    [[nodiscard]] virtual std::optional<QRect> geometry() const = 0;

    [[nodiscard]] virtual Presence presence() const = 0;

signals:
    /// The user clicked the icon, but not for its menu.
    void clicked(const Vintrel::StatusItem::Click& click);

    /// The user chose to open the popover from the menu.
    void openRequested(const QString& activationToken);

    /// The user chose to quit.
    void quitRequested();

    /// Another answer of `presence`. Trays of X11 come and go without it.
    void presenceChanged();
};

} // namespace Vintrel
