#include "Vintrel/shell/linux/StatusNotifierObject.h"

#include <utility>

namespace Vintrel {

StatusNotifierObject::StatusNotifierObject(QDBusObjectPath menu, QObject* parent)
    : QObject(parent), m_menu(std::move(menu)) {
    Tray::registerTypes();
}

void StatusNotifierObject::show(const QList<QImage>& pictures, const StatusIcon::Look& look) {
    const QString oldLabel = label();
    const StatusIcon::Look oldLook = std::exchange(m_look, look);
    m_pictures = pictures;
    emit NewIcon();
    if (oldLook.tooltip != look.tooltip || oldLook.tooltipTitle != look.tooltipTitle) {
        emit NewToolTip();
    }
    if (oldLabel != label()) {
        emit XAyatanaNewLabel(label(), labelGuide());
    }
}

Tray::Pictures StatusNotifierObject::iconPixmap() const {
    Tray::Pictures pictures;
    for (const QImage& picture : m_pictures) {
        pictures += Tray::Picture::from(picture);
    }
    return pictures;
}

Tray::Tooltip StatusNotifierObject::toolTip() const {
    return {.iconName = nothing(), .pictures = {}, .title = m_look.tooltipTitle, .text = m_look.tooltip};
}

QString StatusNotifierObject::label() const {
    return m_look.title.isEmpty() ? nothing() : m_look.title;
}

void StatusNotifierObject::XAyatanaSecondaryActivate(uint) {
    emit activated(0, 0);
}

void StatusNotifierObject::Scroll(int, const QString&) {} // there is nothing to scroll through

} // namespace Vintrel
