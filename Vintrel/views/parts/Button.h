#pragma once

#include <QAbstractButton>

namespace Vintrel {

/// What the program's own buttons have in common: Enter presses them as Space does, arrows belong to the list
/// around them, and they look different under the pointer.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    explicit Button(QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
};

} // namespace Vintrel
