#pragma once

#include "Vintrel/views/parts/Button.h"

namespace Vintrel {

/// A button with a text.
class PushButton : public Button {
    Q_OBJECT

public:
    enum class Emphasis {
        accent, ///< on the accent colour: the one button of a view that stands out
        quiet,
    };

    PushButton(const QString& text, Emphasis emphasis, QWidget* parent);

    void setLabel(const QString& text);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Emphasis m_emphasis;
};

} // namespace Vintrel
