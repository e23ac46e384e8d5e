#pragma once

#include <memory>
#include <vector>

#include <QLayout>

namespace Vintrel {

/// Lays things out as words of a text: side by side, and on a new line where they no longer fit.
class FlowLayout : public QLayout {
public:
    explicit FlowLayout(QWidget* parent = nullptr, int spacing = 6);

    void addItem(QLayoutItem* item) override;
    [[nodiscard]] int count() const override;
    [[nodiscard]] QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;

    [[nodiscard]] Qt::Orientations expandingDirections() const override { return {}; }

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    [[nodiscard]] int arrange(const QRect& rect, bool isToMove) const;

    std::vector<std::unique_ptr<QLayoutItem>> m_items;
};

} // namespace Vintrel
