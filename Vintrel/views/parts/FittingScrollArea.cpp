#include "Vintrel/views/parts/FittingScrollArea.h"

#include "Vintrel/views/parts/OverlayScrollBar.h"

#include <QEvent>

namespace Vintrel {

FittingScrollArea::FittingScrollArea(QWidget* content, QWidget* parent) : QScrollArea(parent) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_bar = new OverlayScrollBar(*this);
    setFocusPolicy(Qt::NoFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setWidget(content);
    content->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    content->installEventFilter(this);
}

QSize FittingScrollArea::sizeHint() const {
    return widget()->sizeHint();
}

int FittingScrollArea::heightForWidth(int width) const {
    return widget()->hasHeightForWidth() ? widget()->heightForWidth(width) : widget()->sizeHint().height();
}

void FittingScrollArea::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    m_bar->place();
}

bool FittingScrollArea::eventFilter(QObject* object, QEvent* event) {
    if (object == widget() && event->type() == QEvent::LayoutRequest) {
        updateGeometry();
    }
    return QScrollArea::eventFilter(object, event);
}

} // namespace Vintrel
