#include "Vintrel/views/GroupHeader.h"

#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Symbol.h"
#include "Vintrel/views/parts/Theme.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

namespace Vintrel {

namespace {

constexpr int leadingMargin = 16;
constexpr int chevronSize = 14;
constexpr int gap = 2; // the drawing has room around it
constexpr int pillPadding = 6;

} // namespace

GroupHeader::GroupHeader(const QString& label, QWidget* parent) : Button(parent), m_label(label) {
    setText(label);
}

void GroupHeader::display(size_t count, bool isCollapsed) {
    const bool isFirst = accessibleName().isEmpty();
    if (!isFirst && m_count == count && m_isCollapsed == isCollapsed) {
        return;
    }
    m_count = count;
    m_isCollapsed = isCollapsed;
    setAccessibleName(QStringLiteral("%1 (%2)").arg(m_label).arg(count));
    setAccessibleDescription(isCollapsed ? tr("collapsed") : tr("expanded"));
    update();
}

QSize GroupHeader::sizeHint() const {
    return {200, QFontMetrics(textFont(TextSize::caption, TextWeight::bold)).height() + 8};
}

/// As in a tree, the arrows to the sides collapse and expand.
void GroupHeader::keyPressEvent(QKeyEvent* event) {
    const bool isForwards =
        event->key() == (layoutDirection() == Qt::LeftToRight ? Qt::Key_Right : Qt::Key_Left);
    const bool isSideways = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (!isSideways) {
        Button::keyPressEvent(event);
    } else if (isForwards == m_isCollapsed) {
        click();
    }
}

void GroupHeader::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto mirrored = [this](const QRect& where) {
        return QStyle::visualRect(layoutDirection(), rect(), where);
    };
    const QString symbol = m_isCollapsed ? QStringLiteral("chevron.right") : QStringLiteral("chevron.down");
    QPixmap chevron = Symbol::pixmap(symbol, theme.secondary, chevronSize, devicePixelRatioF());
    if (m_isCollapsed && layoutDirection() == Qt::RightToLeft) {
        chevron = chevron.transformed(QTransform::fromScale(-1, 1));
    }
    const QRect icon(leadingMargin, (height() - chevronSize) / 2, chevronSize, chevronSize);
    painter.drawPixmap(mirrored(icon).topLeft(), chevron);

    painter.setFont(textFont(TextSize::caption, TextWeight::bold));
    const QString count = QString::number(m_count);
    const int countWidth = painter.fontMetrics().horizontalAdvance(count) + 2 * pillPadding;
    const int left = leadingMargin + chevronSize + gap;
    const int space = width() - left - pillPadding - countWidth - leadingMargin;
    const QString label = painter.fontMetrics().elidedText(m_label, Qt::ElideRight, space);
    const int used = painter.fontMetrics().horizontalAdvance(label);
    painter.setPen(theme.secondary);
    painter.drawText(mirrored(QRect(left, 0, used + 1, height())), Qt::AlignCenter, label);

    const int pillHeight = painter.fontMetrics().height() + 2;
    const QRect pill =
        mirrored(QRect(left + used + pillPadding, (height() - pillHeight) / 2, countWidth, pillHeight));
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.sunken);
    painter.drawRoundedRect(pill, pillHeight / 2.0, pillHeight / 2.0);
    painter.setPen(theme.secondary);
    painter.drawText(pill, Qt::AlignCenter, count);
    if (Painting::showsFocus(*this)) {
        Painting::focusRing(painter, rect().adjusted(leadingMargin - 8, 0, -(leadingMargin - 8), 0), 5);
    }
}

} // namespace Vintrel
