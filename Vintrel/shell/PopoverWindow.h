#pragma once

#include <functional>

#include <QElapsedTimer>
#include <QRect>
#include <QWidget>

namespace Vintrel {

class MenuBarView;

/// The window around the popover's content: of one width, and as tall as the content as long as that fits.
///
/// Beside the icon it has no frame, keeps its place there as it grows, and goes when the user turns to
/// another window. Otherwise it is a window like any other.
class PopoverWindow : public QWidget {
    Q_OBJECT

public:
    using MakeContent = std::function<MenuBarView*()>;

    /// The content is made when it is to be seen for the first time, and belongs to the window: a program
    /// that nobody has opened is small.
    explicit PopoverWindow(MakeContent makeContent);

    /// Shows it as a window and brings it to the front. One that is shown already stays where it is.
    void present(const QString& activationToken = {});

    /// The same beside the icon, or about there.
    void presentBeside(const QRect& anchor, const QString& activationToken = {});

    /// Whether it has just gone because of a press on the icon: the click that follows must not bring it
    /// back. Answers yes once.
    [[nodiscard]] bool takeDismissal();

signals:
    /// It is not to be seen any more.
    void closed();

protected:
    bool event(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Style {
        window,
        square,  ///< without a frame
        rounded, ///< the same where a compositor runs
    };

    void fill();
    void setStyle(Style style);
    void fit();
    [[nodiscard]] const QScreen& screenToFit() const;
    void moveBesideIcon();
    void cutCorners();
    void noteFocus();
    void dismissIfLeft();

    MakeContent m_makeContent;
    MenuBarView* m_content = nullptr; ///< from the first opening on
    Style m_style = Style::window;
    QRect m_anchor; ///< what it stands beside
    bool m_hadFocus = false;
    QElapsedTimer m_sinceDismissal; // by a press on the icon; invalid when it went otherwise
};

} // namespace Vintrel
