#include "Vintrel/shell/PopoverWindow.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/PopoverPlacement.h"
#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

namespace Vintrel {

namespace {

constexpr int least = 240;
constexpr int most = 640;
constexpr int usualWidth = 400;

constexpr int hairline = 1;
constexpr double radius = 10;

/// The pixels of a rounded rectangle.
QRegion roundedRegion(const QRect& rect) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return QRegion(path.toFillPolygon().toPolygon());
}

/// Whether the keyboard is in this window, or in a menu or dialog of it.
bool hasFocusWithin(const QWidget& window) {
    if (QApplication::activePopupWidget() != nullptr || QApplication::activeModalWidget() != nullptr) {
        return true;
    }
    const QWidget* active = QApplication::activeWindow();
    while (active != nullptr && active != &window) {
        active = active->parentWidget();
    }
    return active != nullptr;
}

} // namespace

PopoverWindow::PopoverWindow(MakeContent makeContent) : m_makeContent(std::move(makeContent)) {
    AccessibleRole::set(*this, QAccessible::Window);
    setWindowTitle(tr("Vintrel"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetNoConstraint); // the content may be taller than the window
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &PopoverWindow::noteFocus);
}

void PopoverWindow::fill() {
    if (m_content == nullptr) {
        m_content = m_makeContent();
        layout()->addWidget(m_content);
        connect(m_content, &MenuBarView::closeRequested, this, &QWidget::close);
    }
}

void PopoverWindow::present(const QString& activationToken) {
    if (!isVisible()) {
        fill();
        setStyle(Style::window);
        fit();
    }
    m_sinceDismissal.invalidate();
    Desktop::present(*this, activationToken);
}

void PopoverWindow::presentBeside(const QRect& anchor, const QString& activationToken) {
    if (!isVisible()) {
        fill();
        setStyle(Desktop::isCompositing() ? Style::rounded : Style::square);
        m_anchor = anchor;
        m_hadFocus = false;
        fit();
    }
    m_sinceDismissal.invalidate();
    Desktop::present(*this, activationToken);
}

bool PopoverWindow::takeDismissal() {
    // From the press of a button to its release, by somebody slow.
    constexpr qint64 longestClick = 2'000; // milliseconds
    const bool wasJustDismissed = m_sinceDismissal.isValid() && m_sinceDismissal.elapsed() < longestClick;
    m_sinceDismissal.invalidate();
    return wasJustDismissed;
}

/// Only while it is hidden.
void PopoverWindow::setStyle(Style style) {
    if (m_style == style) {
        return;
    }
    m_style = style;
    destroy(); // a window system does not let a window become one of another kind
    const bool isWindow = style == Style::window;
    setWindowFlags(isWindow ? Qt::Window : Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_QuitOnClose, isWindow); // which the flags of a tool window take away for good
    setAttribute(Qt::WA_TranslucentBackground, style == Style::rounded);
    const int border = isWindow ? 0 : hairline;
    layout()->setContentsMargins(border, border, border, border);
    cutCorners();
}

void PopoverWindow::fit() {
    const QSize screen = screenToFit().availableSize();
    const int border = m_style == Style::window ? 0 : 2 * hairline;
    const int byFont = QFontMetrics(textFont(TextSize::body)).averageCharWidth() * 56;
    const int width = std::min(std::max(usualWidth, byFont) + border, screen.width());
    const int wanted = m_content->hasHeightForWidth() ? m_content->heightForWidth(width - border)
                                                      : m_content->sizeHint().height();
    setFixedSize(width, std::clamp(wanted + border, std::min(least, screen.height()),
                                   std::min(most, screen.height())));
    if (m_style != Style::window) {
        moveBesideIcon();
    }
}

const QScreen& PopoverWindow::screenToFit() const {
    const QScreen* const ofIcon =
        m_style == Style::window ? nullptr : QGuiApplication::screenAt(m_anchor.center());
    return ofIcon != nullptr ? *ofIcon : *screen();
}

void PopoverWindow::moveBesideIcon() {
    const QScreen& screen = screenToFit();
    move(PopoverPlacement::place(size(), m_anchor, screen.geometry(), screen.availableGeometry()));
}

void PopoverWindow::noteFocus() {
    if (m_style != Style::window && isVisible()) {
        // Where the keyboard goes is known only when it has arrived.
        QTimer::singleShot(0, this, &PopoverWindow::dismissIfLeft);
    }
}

void PopoverWindow::dismissIfLeft() {
    if (m_style == Style::window || !isVisible()) {
        return;
    }
    if (hasFocusWithin(*this)) {
        m_hadFocus = true;
    } else if (m_hadFocus) { // some window managers do not give it the keyboard at first
        // An icon may be larger than what is known of it.
        constexpr int slack = 12;
        if (m_anchor.adjusted(-slack, -slack, slack, slack).contains(QCursor::pos())) {
            m_sinceDismissal.start();
        }
        close();
    }
}

bool PopoverWindow::event(QEvent* event) {
    const bool isHandled = QWidget::event(event);
    const bool isOtherSize =
        event->type() == QEvent::LayoutRequest || event->type() == QEvent::ApplicationFontChange;
    if (isOtherSize && m_content != nullptr) {
        fit();
    }
    return isHandled;
}

void PopoverWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) { // and not when it was only minimised
        emit closed();
    }
}

void PopoverWindow::paintEvent(QPaintEvent* /*event*/) {
    if (m_style == Style::window) {
        return;
    }
    const double inset = hairline / 2.0;
    const QRectF outline = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    const double corner = m_style == Style::rounded ? radius : 0;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::current().hairline, hairline));
    painter.setBrush(Theme::current().background);
    painter.drawRoundedRect(outline, corner, corner);
}

void PopoverWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    cutCorners();
}

void PopoverWindow::cutCorners() {
    if (m_content == nullptr) {
        return;
    }
    if (m_style == Style::rounded) {
        m_content->setMask(roundedRegion({QPoint(), size() - QSize(2 * hairline, 2 * hairline)}));
    } else {
        m_content->clearMask();
    }
}

} // namespace Vintrel
