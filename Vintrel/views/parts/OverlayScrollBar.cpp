#include "Vintrel/views/parts/OverlayScrollBar.h"

#include "Vintrel/views/parts/Theme.h"

#include <algorithm>

#include <QPainter>
#include <QStyle>

namespace Vintrel {

OverlayScrollBar::OverlayScrollBar(QAbstractScrollArea& area)
    : QScrollBar(Qt::Vertical, &area), m_area(area) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);
    const QScrollBar* const own = area.verticalScrollBar();
    connect(own, &QScrollBar::rangeChanged, this, &OverlayScrollBar::follow);
    connect(own, &QScrollBar::valueChanged, this, &QScrollBar::setValue);
    connect(this, &QScrollBar::valueChanged, own, &QScrollBar::setValue);
    follow();
}

void OverlayScrollBar::follow() {
    const QScrollBar* const own = m_area.verticalScrollBar();
    setPageStep(own->pageStep());
    setSingleStep(own->singleStep());
    setRange(own->minimum(), own->maximum());
    setValue(own->value());
    setVisible(own->maximum() > own->minimum());
    place();
}

void OverlayScrollBar::place() {
    const QRect whole = m_area.rect();
    const QRect edge(whole.right() + 1 - thickness, whole.top(), thickness, whole.height());
    setGeometry(QStyle::visualRect(m_area.layoutDirection(), whole, edge));
    raise();
}

QRect OverlayScrollBar::handle() const {
    constexpr int shortest = 24;
    const int length = maximum() - minimum() + pageStep();
    const int extent =
        std::clamp(height() * pageStep() / std::max(length, 1), shortest, std::max(height(), shortest));
    const int room = height() - extent;
    const int top = (value() - minimum()) * room / std::max(maximum() - minimum(), 1);
    return {2, top + 1, width() - 4, extent - 2};
}

void OverlayScrollBar::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor color = theme.secondary;
    color.setAlphaF(isSliderDown() || underMouse() ? 0.75F : 0.4F);
    painter.setBrush(color);
    painter.drawRoundedRect(handle(), 2, 2);
}

} // namespace Vintrel
