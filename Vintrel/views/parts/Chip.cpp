#include "Vintrel/views/parts/Chip.h"

#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>

#include <QFontMetrics>
#include <QPainter>

namespace Vintrel {

namespace {

constexpr int horizontalPadding = 5;
constexpr int verticalPadding = 2;

QFont chipFont() {
    return textFont(TextSize::small);
}

} // namespace

Chip::Chip(const QString& text, Tint tint, QWidget* parent) : QWidget(parent), m_text(text), m_tint(tint) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    AccessibleRole::set(*this, QAccessible::StaticText);
    setAccessibleName(text);
}

QSize Chip::sizeHint() const {
    const QFontMetrics metrics(chipFont());
    return {metrics.horizontalAdvance(m_text) + 1 + 2 * horizontalPadding,
            metrics.height() + 2 * verticalPadding};
}

QSize Chip::minimumSizeHint() const {
    return {std::min(sizeHint().width(), 60), sizeHint().height()};
}

int Chip::heightForWidth(int width) const {
    const int inner = std::max(width - 2 * horizontalPadding, 1);
    return Painting::wrappedSize(m_text, chipFont(), inner).height() + 2 * verticalPadding;
}

void Chip::paintEvent(QPaintEvent* /*event*/) {
    constexpr double radius = 4;
    constexpr float accentOpacity = 0.12F;
    const Theme& theme = Theme::current();
    QColor ground = theme.hovered; // it may stand on a card
    if (m_tint == Tint::accent) {
        ground = theme.accent;
        ground.setAlphaF(accentOpacity);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(rect(), radius, radius);
    painter.setPen(theme.primary);
    painter.setFont(chipFont());
    const QRect inner =
        rect().adjusted(horizontalPadding, verticalPadding, -horizontalPadding, -verticalPadding);
    Painting::drawWrapped(painter, inner, Qt::AlignVCenter | Qt::AlignLeading, m_text);
}

} // namespace Vintrel
