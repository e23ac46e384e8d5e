#include "Vintrel/shell/StatusContextMenu.h"

#include "Vintrel/shell/StatusItem.h"
#include "Vintrel/shell/StatusMenuTexts.h"

#include <QAction>
#include <QKeySequence>

namespace Vintrel {

std::unique_ptr<QMenu> makeStatusContextMenu(StatusItem& item) {
    auto menu = std::make_unique<QMenu>();
    const QAction* const quit = menu->addAction(StatusMenuTexts::quit(), QKeySequence(Qt::CTRL | Qt::Key_Q));
    QObject::connect(quit, &QAction::triggered, &item, &StatusItem::quitRequested);
    return menu;
}

} // namespace Vintrel
