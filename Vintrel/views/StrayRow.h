#pragma once

#include "Vintrel/views/StraysModel.h"
#include "Vintrel/views/parts/PressGuard.h"

#include <array>

#include <QWidget>

namespace Vintrel {

class IconButton;
class ReasoningBlock;

/// One stray: what it is and whose, its figures, its buttons, and, when expanded, why it is listed. The text
/// is painted; the buttons are widgets, so that a screen reader finds them.
class StrayRow : public QWidget {
    Q_OBJECT

public:
    StrayRow(StraysModel& model, QWidget* parent);

    /// Repaints only if something of it reads differently. To be called with the same process each time.
    void display(const StraysModel::Row& row);

    [[nodiscard]] const StraysModel::Row& row() const { return m_row; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    /// Its buttons in the order of reading.
    enum class Column { info, hide, lock, kill };

    /// Of the button that has the focus; absent when none has.
    [[nodiscard]] std::optional<Column> focusedColumn() const;

    /// Focuses the button of that column, or of the nearest one before it that the row has.
    void focusColumn(Column column);

    /// Moves the focus by one button to the right (or the left); stays at the ends.
    void moveFocus(bool isToTheRight);

    [[nodiscard]] std::vector<QWidget*> focusOrder() const;

    /// The row stands elsewhere now: a click that comes at once was meant for what stood here before.
    void noteMoved() { m_pressGuard.noteMoved(); }

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void connectButtons();
    void updateButtons();
    void updateReasoning();
    void arrange();
    void kill();
    [[nodiscard]] QString note() const;
    [[nodiscard]] int lineHeight() const;
    [[nodiscard]] int headHeight() const;
    [[nodiscard]] int buttonsWidth() const;
    [[nodiscard]] IconButton* button(Column column) const;
    void paintNote(QPainter& painter, const QRect& line) const;

    StraysModel& m_model;
    StraysModel::Row m_row;
    std::array<IconButton*, 4> m_buttons{};
    ReasoningBlock* m_reasoning = nullptr;
    PressGuard m_pressGuard;
};

} // namespace Vintrel
