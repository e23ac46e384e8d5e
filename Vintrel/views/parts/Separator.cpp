#include "Vintrel/views/parts/Separator.h"

#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Theme.h"

#include <QPainter>

namespace Vintrel {

Separator::Separator(QWidget* parent) : QWidget(parent) {
    AccessibleRole::set(*this, QAccessible::Separator);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize Separator::sizeHint() const {
    return {40, 13};
}

void Separator::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(QRect(0, height() / 2, width(), 1), Theme::current().hairline);
}

} // namespace Vintrel
