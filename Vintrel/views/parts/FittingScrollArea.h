#pragma once

#include <QScrollArea>

namespace Vintrel {

class OverlayScrollBar;

/// Scrolls its content up and down, and would like to be as tall as that content. Without a frame or a ground
/// of its own.
class FittingScrollArea : public QScrollArea {
    Q_OBJECT

public:
    /// Takes the content over.
    FittingScrollArea(QWidget* content, QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    OverlayScrollBar* m_bar;
};

} // namespace Vintrel
