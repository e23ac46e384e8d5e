#include "Vintrel/views/parts/PushButton.h"

#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Theme.h"

#include <QFontMetrics>
#include <QPainter>

namespace Vintrel {

PushButton::PushButton(const QString& text, Emphasis emphasis, QWidget* parent)
    : Button(parent), m_emphasis(emphasis) {
    setLabel(text);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PushButton::setLabel(const QString& text) {
    if (this->text() != text) {
        setText(text);
        setAccessibleName(text);
        updateGeometry();
    }
}

QSize PushButton::sizeHint() const {
    const QFontMetrics metrics(textFont(TextSize::body, TextWeight::bold));
    return {metrics.horizontalAdvance(text()) + 22, metrics.height() + 8};
}

void PushButton::paintEvent(QPaintEvent* /*event*/) {
    constexpr double radius = 6;
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const bool isAccent = isEnabled() && m_emphasis == Emphasis::accent;
    const QColor text = isAccent ? theme.onAccent : isEnabled() ? theme.primary : theme.tertiary;
    painter.setBrush(isAccent ? theme.accent : isEnabled() && underMouse() ? theme.hovered : theme.sunken);
    painter.drawRoundedRect(rect(), radius, radius);
    painter.setFont(textFont(TextSize::body, TextWeight::bold));
    painter.setPen(text);
    painter.drawText(rect().translated(0, isDown() ? 1 : 0), Qt::AlignCenter, QAbstractButton::text());
    if (Painting::showsFocus(*this)) {
        painter.setPen(text); // the ring alone does not show on the accent
        painter.setBrush(Qt::NoBrush);
        constexpr double inset = 2.5;
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius - 2,
                                radius - 2);
        Painting::focusRing(painter, rect(), radius);
    }
}

} // namespace Vintrel
