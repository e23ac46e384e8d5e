#include "Vintrel/views/parts/FlowLayout.h"

#include <algorithm>

#include <QStyle>
#include <QWidget>

namespace Vintrel {

FlowLayout::FlowLayout(QWidget* parent, int spacing) : QLayout(parent) {
    setSpacing(spacing);
    setContentsMargins(0, 0, 0, 0);
}

void FlowLayout::addItem(QLayoutItem* item) {
    m_items.emplace_back(item);
}

int FlowLayout::count() const {
    return static_cast<int>(m_items.size());
}

QLayoutItem* FlowLayout::itemAt(int index) const {
    return index >= 0 && index < count() ? m_items[static_cast<size_t>(index)].get() : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
    if (index < 0 || index >= count()) {
        return nullptr;
    }
    const auto place = m_items.begin() + index;
    QLayoutItem* const item = place->release(); // the caller owns it, as QLayout has it
    m_items.erase(place);
    return item;
}

int FlowLayout::heightForWidth(int width) const {
    return arrange(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::sizeHint() const {
    int width = 0;
    for (const auto& item : m_items) {
        width += item->sizeHint().width() + (width > 0 ? spacing() : 0);
    }
    return {width, minimumSize().height()};
}

QSize FlowLayout::minimumSize() const {
    QSize size;
    for (const auto& item : m_items) {
        size = size.expandedTo(item->minimumSize());
    }
    const QMargins margins = contentsMargins();
    return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

void FlowLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    static_cast<void>(arrange(rect, true));
}

/// The height it takes.
int FlowLayout::arrange(const QRect& rect, bool isToMove) const {
    const QRect inner = rect.marginsRemoved(contentsMargins());
    const Qt::LayoutDirection direction =
        parentWidget() != nullptr ? parentWidget()->layoutDirection() : Qt::LeftToRight;
    int x = inner.x();
    int y = inner.y();
    int lineHeight = 0;
    for (const auto& item : m_items) {
        QSize size = item->sizeHint();
        size.setWidth(std::min(size.width(), inner.width()));
        if (item->hasHeightForWidth()) {
            size.setHeight(item->heightForWidth(size.width()));
        }
        if (x > inner.x() && x + size.width() > inner.x() + inner.width()) {
            x = inner.x();
            y += lineHeight + spacing();
            lineHeight = 0;
        }
        if (isToMove) {
            item->setGeometry(QStyle::visualRect(direction, inner, QRect(QPoint(x, y), size)));
        }
        x += size.width() + spacing();
        lineHeight = std::max(lineHeight, size.height());
    }
    return y + lineHeight - rect.y() + contentsMargins().bottom();
}

} // namespace Vintrel
