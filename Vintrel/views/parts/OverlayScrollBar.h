#pragma once

#include <QAbstractScrollArea>
#include <QScrollBar>

namespace Vintrel {

/// A thin handle over the edge of a scroll area instead of a bar beside its content, which would move when it
/// comes. Shows where the area's own, hidden bar stands, and moves it when dragged.
class OverlayScrollBar : public QScrollBar {
    Q_OBJECT

public:
    /// The area must outlive it, and not show its own vertical bar.
    explicit OverlayScrollBar(QAbstractScrollArea& area);

    /// To be called when the area has another size.
    void place();

    static constexpr int thickness = 8;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    [[nodiscard]] QRect handle() const;

    QAbstractScrollArea& m_area;
};

} // namespace Vintrel
