#include "Vintrel/shell/Desktop.h"

#include <QWidget>

namespace Vintrel::Desktop {

bool canPlaceWindows() {
    return true;
}

bool isCompositing() {
    return true;
}

void activate(QWidget& window, const QString& /*activationToken*/) {
    window.raise();
    window.activateWindow();
}

} // namespace Vintrel::Desktop
