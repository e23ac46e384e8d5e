#include "Vintrel/shell/Desktop.h"

#include <QWidget>

namespace Vintrel::Desktop {

bool canPlaceWindows() {
    return true;
}

bool isCompositing() {
    return true;
}

void present(QWidget& window, const QString& /*activationToken*/) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace Vintrel::Desktop
