#include "Vintrel/shell/PopoverWindow.h"

#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>

#include <QEvent>
#include <QFontMetrics>
#include <QScreen>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

constexpr int least = 240;
constexpr int most = 640;
constexpr int usualWidth = 400;

} // namespace

PopoverWindow::PopoverWindow(MenuBarView* content) : m_content(content) {
    AccessibleRole::set(*this, QAccessible::Window);
    setWindowTitle(tr("Vintrel"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetNoConstraint); // the content may be taller than the window
    layout->addWidget(content);
    connect(content, &MenuBarView::closeRequested, this, &QWidget::close);
    fit();
}

void PopoverWindow::present() {
    fit();
    show();
    raise();
    activateWindow();
}

void PopoverWindow::fit() {
    const QSize screen = this->screen()->availableSize();
    const int byFont = QFontMetrics(textFont(TextSize::body)).averageCharWidth() * 56;
    const int width = std::min(std::max(usualWidth, byFont), screen.width());
    const int wanted =
        m_content->hasHeightForWidth() ? m_content->heightForWidth(width) : m_content->sizeHint().height();
    setFixedSize(width,
                 std::clamp(wanted, std::min(least, screen.height()), std::min(most, screen.height())));
}

bool PopoverWindow::event(QEvent* event) {
    const bool isHandled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::ApplicationFontChange) {
        fit();
    }
    return isHandled;
}

} // namespace Vintrel
