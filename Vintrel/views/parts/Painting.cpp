#include "Vintrel/views/parts/Painting.h"

#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <cmath>

#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <QRect>
#include <QTextLayout>
#include <QTextOption>
#include <QWidget>

namespace Vintrel::Painting {

namespace {

QTextOption wrapping(Qt::Alignment alignment) {
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

} // namespace

void focusRing(QPainter& painter, const QRect& rect, double radius) {
    constexpr double width = 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::current().accent, width));
    painter.setBrush(Qt::NoBrush);
    const double inset = width / 2;
    painter.drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), radius, radius);
    painter.restore();
}

QSize wrappedSize(const QString& text, const QFont& font, int width) {
    QSizeF size;
    for (const QString& paragraph : text.split(QLatin1Char('\n'))) {
        QTextLayout layout(paragraph.isEmpty() ? QStringLiteral(" ") : paragraph, font);
        layout.setTextOption(wrapping({}));
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(width);
            size = {std::max(size.width(), line.naturalTextWidth()),
                    size.height() + std::max<double>(line.height(), QFontMetrics(font).height())};
        }
        layout.endLayout();
    }
    return {static_cast<int>(std::ceil(size.width())), static_cast<int>(std::ceil(size.height()))};
}

void drawWrapped(QPainter& painter, const QRect& rect, Qt::Alignment alignment, const QString& text) {
    painter.drawText(rect, text, wrapping(alignment));
}

bool showsFocus(const QWidget& widget) {
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

} // namespace Vintrel::Painting
