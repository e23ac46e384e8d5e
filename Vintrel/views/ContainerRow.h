#pragma once

#include "Vintrel/views/ContainerGroups.h"
#include "Vintrel/views/parts/PressGuard.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include <QWidget>

class QHBoxLayout;
class QKeyEvent;

namespace Vintrel {

class IconButton;
class TextLabel;

/// What can be done with a container, in the order of the buttons.
enum class ContainerAction { restart, stop, remove };

/// One container: its name, image, status and figures, and a column each of buttons to restart, stop and
/// remove it.
class ContainerRow : public QWidget {
    Q_OBJECT

public:
    ContainerRow(std::string id, const ContainerTexts& texts, QWidget* parent);

    /// The container's.
    [[nodiscard]] const std::string& id() const { return m_id; }

    /// Repaints only what reads differently.
    void setTexts(const ContainerTexts& texts);

    /// While an action is under way the buttons are disabled. The row keeps the focus for the button that had
    /// it.
    void setBusy(bool isBusy);

    [[nodiscard]] bool isBusy() const { return m_isBusy; }

    /// The row stands elsewhere now: a click that comes at once was meant for what stood here before.
    void noteMoved() { m_pressGuard.noteMoved(); }

    /// Whether a button is held down.
    [[nodiscard]] bool isPressed() const;

    [[nodiscard]] IconButton* button(ContainerAction action) const {
        return m_buttons[static_cast<size_t>(action)];
    }

    /// In which column the window's focus is; absent when it is elsewhere.
    [[nodiscard]] std::optional<ContainerAction> focusedColumn() const;

    /// Gives that button the focus, or while it is disabled the row in its place.
    void focusColumn(ContainerAction column);

    /// The row itself: a key that is pressed once more does nothing there.
    void focusRow();

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void actionRequested(Vintrel::ContainerAction action);

    /// No button is held down any more.
    void released();

    /// The focus is to go that many rows down, or up when negative.
    void moveRequested(int step);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void addTexts(QHBoxLayout& layout);
    void addButtons(QHBoxLayout& layout);
    void showTexts();
    bool takeKey(const QKeyEvent& event);
    void moveAlong(int step);

    std::string m_id;
    ContainerTexts m_texts;
    TextLabel* m_name = nullptr;
    TextLabel* m_image = nullptr;
    TextLabel* m_status = nullptr;
    TextLabel* m_dot = nullptr;
    TextLabel* m_figures = nullptr;
    std::array<IconButton*, 3> m_buttons{};
    ContainerAction m_column = ContainerAction::restart; // where the focus was when the row became busy
    PressGuard m_pressGuard;
    bool m_isBusy = false;
};

} // namespace Vintrel
