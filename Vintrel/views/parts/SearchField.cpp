#include "Vintrel/views/parts/SearchField.h"

#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Symbol.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

namespace Vintrel {

namespace {

constexpr int symbolSize = 14;
constexpr int symbolMargin = 10;

} // namespace

SearchField::SearchField(const QString& placeholder, const QString& clearHelp, QWidget* parent)
    : QLineEdit(parent) {
    setFrame(false);
    QPalette ownGround = palette();
    ownGround.setColor(QPalette::Base, Qt::transparent); // it is painted here, with round corners
    setPalette(ownGround);
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    m_clear = new IconButton(QStringLiteral("xmark.circle.fill"), clearHelp, this);
    m_clear->setCursor(Qt::ArrowCursor);
    m_clear->hide();
    connect(m_clear, &QAbstractButton::clicked, this, [this] {
        clear();
        setFocus();
    });
    connect(this, &QLineEdit::textChanged, m_clear,
            [this](const QString& text) { m_clear->setVisible(!text.isEmpty()); });
}

QSize SearchField::sizeHint() const {
    return {200, std::max(QFontMetrics(font()).height() + 14, IconButton::edge + 4)};
}

void SearchField::resizeEvent(QResizeEvent* event) {
    QLineEdit::resizeEvent(event);
    arrange();
}

void SearchField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange && m_clear != nullptr) {
        arrange();
    }
}

void SearchField::arrange() {
    const int before = symbolMargin + symbolSize + 4;
    const int after = IconButton::edge + 4;
    const bool isLeftToRight = layoutDirection() == Qt::LeftToRight;
    setTextMargins(isLeftToRight ? before : after, 0, isLeftToRight ? after : before, 0);
    const QRect place(width() - IconButton::edge - 2, (height() - IconButton::edge) / 2, IconButton::edge,
                      IconButton::edge);
    m_clear->setGeometry(QStyle::visualRect(layoutDirection(), rect(), place));
}

void SearchField::paintEvent(QPaintEvent* event) {
    constexpr double radius = 6;
    const Theme& theme = Theme::current();
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(theme.hairline);
        painter.setBrush(theme.field);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
        const QRect icon(symbolMargin, (height() - symbolSize) / 2, symbolSize, symbolSize);
        painter.drawPixmap(QStyle::visualRect(layoutDirection(), rect(), icon).topLeft(),
                           Symbol::pixmap(QStringLiteral("magnifyingglass"), theme.secondary, symbolSize,
                                          devicePixelRatioF()));
        if (hasFocus()) {
            Painting::focusRing(painter, rect(), radius);
        }
    }
    QLineEdit::paintEvent(event);
}

} // namespace Vintrel
