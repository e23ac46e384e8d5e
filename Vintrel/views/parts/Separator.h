#pragma once

#include <QWidget>

namespace Vintrel {

/// A hairline from side to side.
class Separator : public QWidget {
    Q_OBJECT

public:
    explicit Separator(QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Vintrel
