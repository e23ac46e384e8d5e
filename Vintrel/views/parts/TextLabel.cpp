#include "Vintrel/views/parts/TextLabel.h"

#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Painting.h"

#include <algorithm>

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace Vintrel {

namespace {

QColor colorOf(TextLabel::Tone tone) {
    const Theme& theme = Theme::current();
    switch (tone) {
    case TextLabel::Tone::primary:
        return theme.primary;
    case TextLabel::Tone::secondary:
        return theme.secondary;
    case TextLabel::Tone::tertiary:
        return theme.tertiary;
    case TextLabel::Tone::safe:
        return theme.safe;
    case TextLabel::Tone::review:
        return theme.review;
    }
    return theme.primary;
}

} // namespace

TextLabel::TextLabel(const QString& text, const Style& style, QWidget* parent)
    : QWidget(parent), m_text(text), m_style(style) {
    QSizePolicy policy(QSizePolicy::Preferred, style.wraps ? QSizePolicy::Minimum : QSizePolicy::Fixed);
    policy.setHeightForWidth(style.wraps);
    setSizePolicy(policy);
    AccessibleRole::set(*this, QAccessible::StaticText);
    setAccessibleName(text);
}

void TextLabel::setText(const QString& text) {
    if (m_text != text) {
        m_text = text;
        setAccessibleName(text);
        updateGeometry();
        update();
    }
}

QFont TextLabel::styledFont() const {
    if (m_style.isCode) {
        return codeFont(m_style.size);
    }
    return m_style.hasFigures ? figuresFont(m_style.size) : textFont(m_style.size, m_style.weight);
}

QSize TextLabel::sizeHint() const {
    const QFontMetrics metrics(styledFont());
    return {metrics.horizontalAdvance(m_text) + 1, metrics.height()};
}

QSize TextLabel::minimumSizeHint() const {
    const QFontMetrics metrics(styledFont());
    return {std::min(metrics.horizontalAdvance(m_text) + 1, metrics.averageCharWidth() * 4),
            metrics.height()};
}

int TextLabel::heightForWidth(int width) const {
    return Painting::wrappedSize(m_text, styledFont(), std::max(width, 1)).height();
}

void TextLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setFont(styledFont());
    painter.setPen(colorOf(m_style.tone));
    const Qt::Alignment alignment = QStyle::visualAlignment(layoutDirection(), m_style.alignment);
    if (m_style.wraps) {
        Painting::drawWrapped(painter, rect(), alignment, m_text);
        return;
    }
    const QString shown = painter.fontMetrics().elidedText(m_text, m_style.elide, width());
    painter.drawText(rect(), static_cast<int>(alignment) | Qt::TextSingleLine, shown);
}

void TextLabel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        updateGeometry();
    }
}

bool TextLabel::event(QEvent* event) {
    const bool isCut = !m_style.wraps && sizeHint().width() - 1 > width();
    if (event->type() == QEvent::ToolTip && isCut) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), m_text.toHtmlEscaped(), this);
        return true;
    }
    return QWidget::event(event);
}

} // namespace Vintrel
