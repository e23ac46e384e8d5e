#include "Vintrel/shell/PaintedStatusItem.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/StatusIconPainting.h"

namespace Vintrel {

PaintedStatusItem::PaintedStatusItem(const Appearance& appearance, QObject* parent)
    : StatusItem(parent), m_appearance(appearance), m_scheme(Desktop::panelScheme(appearance.settings())) {
    connect(&appearance, &Appearance::changed, this, &PaintedStatusItem::followScheme);
    connect(&m_pulse, &Pulse::frame, this, &PaintedStatusItem::displayFrame);
}

void PaintedStatusItem::setLook(const StatusIcon::Look& look) {
    if (m_look != look) {
        m_look = look;
        paint();
    }
}

void PaintedStatusItem::pulse() {
    if (m_look) {
        m_pulse.start();
    }
}

void PaintedStatusItem::followScheme() {
    const PanelScheme scheme = Desktop::panelScheme(m_appearance.settings());
    if (scheme != m_scheme) {
        m_scheme = scheme;
        paint();
    }
}

void PaintedStatusItem::paint() {
    if (m_look) {
        m_pictures = StatusIconPainting::paintAll(*m_look, m_scheme);
        display(m_pictures, *m_look); // a pulse that is under way goes on with the next frame
    }
}

void PaintedStatusItem::displayFrame(double opacity) {
    QList<QImage> frame;
    for (const QImage& picture : m_pictures) {
        frame += StatusIconPainting::faded(picture, opacity);
    }
    display(frame, *m_look);
}

} // namespace Vintrel
