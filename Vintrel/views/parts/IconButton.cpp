#include "Vintrel/views/parts/IconButton.h"

#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Symbol.h"
#include "Vintrel/views/parts/Theme.h"

#include <QPainter>

namespace Vintrel {

IconButton::IconButton(const QString& symbolName, const QString& help, QWidget* parent, Tone tone)
    : Button(parent), m_symbolName(symbolName), m_tone(tone) {
    setHelp(help);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void IconButton::setSymbolName(const QString& name) {
    if (m_symbolName != name) {
        m_symbolName = name;
        update();
    }
}

void IconButton::setHelp(const QString& help, const QString& shortcut) {
    if (accessibleName() != help) {
        setAccessibleName(help);
    }
    const QString tip = shortcut.isEmpty() ? help : QStringLiteral("%1 (%2)").arg(help, shortcut);
    if (toolTip() != tip) {
        setToolTip(tip);
    }
}

QSize IconButton::sizeHint() const {
    return {edge, edge};
}

void IconButton::paintEvent(QPaintEvent* /*event*/) {
    constexpr int symbolSize = 16;
    constexpr double radius = 5;
    const Theme& theme = Theme::current();
    QPainter painter(this);
    if (isEnabled() && (isDown() || underMouse())) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? theme.hairline : theme.hovered);
        painter.drawRoundedRect(rect(), radius, radius);
    }
    const QColor color = m_tone == Tone::destructive ? theme.safe : theme.secondary;
    const QPixmap symbol = Symbol::pixmap(m_symbolName, color, symbolSize, devicePixelRatioF());
    painter.setOpacity(isEnabled() ? 1.0 : 0.4);
    painter.drawPixmap((width() - symbolSize) / 2, (height() - symbolSize) / 2, symbol);
    painter.setOpacity(1.0);
    if (Painting::showsFocus(*this)) {
        Painting::focusRing(painter, rect(), radius);
    }
}

} // namespace Vintrel
