#include "Vintrel/views/parts/TabPicker.h"

#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Theme.h"

#include <QFontMetrics>
#include <QPainter>

namespace Vintrel {

namespace {

constexpr int verticalPadding = 6;

} // namespace

TabPicker::TabPicker(const QStringList& names, QWidget* parent) : QTabBar(parent) {
    setDrawBase(false);
    setExpanding(true);
    setUsesScrollButtons(false);
    setElideMode(Qt::ElideRight);
    setFocusPolicy(Qt::StrongFocus);
    for (const QString& name : names) {
        addTab(name);
    }
}

QSize TabPicker::tabSizeHint(int index) const {
    const QFontMetrics metrics(textFont(TextSize::body, TextWeight::bold));
    return {metrics.horizontalAdvance(tabText(index)) + 24, metrics.height() + 2 * verticalPadding};
}

QSize TabPicker::minimumTabSizeHint(int index) const {
    return {40, tabSizeHint(index).height()};
}

QSize TabPicker::minimumSizeHint() const {
    return {40 * count(), tabSizeHint(0).height()};
}

void TabPicker::paintEvent(QPaintEvent* /*event*/) {
    constexpr double radius = 6;
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.sunken);
    painter.drawRoundedRect(rect(), radius, radius);
    for (int index = 0; index < count(); ++index) {
        const bool isChosen = index == currentIndex();
        const QRect tab = tabRect(index).adjusted(1, 1, -1, -1);
        if (isChosen) {
            painter.setPen(theme.hairline);
            painter.setBrush(theme.isDark ? theme.hovered : theme.field);
            painter.drawRoundedRect(QRectF(tab).adjusted(0.5, 0.5, -0.5, -0.5), radius - 1, radius - 1);
        }
        const TextWeight weight = isChosen ? TextWeight::bold : TextWeight::regular;
        painter.setFont(textFont(TextSize::body, weight));
        painter.setPen(isChosen ? theme.primary : theme.secondary);
        const QString text =
            painter.fontMetrics().elidedText(tabText(index), Qt::ElideRight, tab.width() - 8);
        painter.drawText(tab, Qt::AlignCenter, text);
        if (isChosen && Painting::showsFocus(*this)) {
            Painting::focusRing(painter, tab, radius - 1);
        }
    }
}

} // namespace Vintrel
