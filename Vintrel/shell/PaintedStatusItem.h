#pragma once

#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/Pulse.h"
#include "Vintrel/shell/StatusItem.h"
#include "Vintrel/views/parts/Theme.h"

#include <optional>

#include <QImage>
#include <QList>

namespace Vintrel {

/// What status items have in common: their pictures, which follow the panel's scheme, and the pulse.
class PaintedStatusItem : public StatusItem {
    Q_OBJECT

public:
    /// The appearance must outlive the item.
    explicit PaintedStatusItem(const Appearance& appearance, QObject* parent = nullptr);

    void setLook(const StatusIcon::Look& look) final;
    void pulse() final;

    [[nodiscard]] bool isPulsing() const { return m_pulse.isRunning(); }

protected:
    /// The next pictures, one for each size, of a look. The same look comes again for each frame of a pulse.
    virtual void display(const QList<QImage>& pictures, const StatusIcon::Look& look) = 0;

private:
    void followScheme();
    void paint();
    void displayFrame(double opacity);

    const Appearance& m_appearance;
    PanelScheme m_scheme;
    std::optional<StatusIcon::Look> m_look; // absent before the first one
    QList<QImage> m_pictures;
    Pulse m_pulse;
};

} // namespace Vintrel
