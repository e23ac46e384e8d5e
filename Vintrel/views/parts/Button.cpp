#include "Vintrel/views/parts/Button.h"

#include <QKeyEvent>

namespace Vintrel {

Button::Button(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
}

void Button::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Down:
        event->ignore();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!event->isAutoRepeat()) { // who holds the key down means one press
            click();
        }
        break;
    default:
        QAbstractButton::keyPressEvent(event);
    }
}

void Button::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    update();
}

void Button::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    update();
}

} // namespace Vintrel
