#include "Vintrel/views/StrayMenu.h"

#include "Vintrel/shell/FileBrowser.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>

namespace Vintrel::StrayMenu {

namespace {

void addCopying(QMenu& menu, const QString& label, const QString& text) {
    QMenu::connect(menu.addAction(label), &QAction::triggered, &menu,
                   [text] { QApplication::clipboard()->setText(text); });
}

} // namespace

QMenu* make(const StraysModel& model, const StraysModel::Item& item, QWidget* parent) {
    auto* const menu = new QMenu(parent);
    const QString pid = QString::number(item.pid);
    const QString kill = QStringLiteral("kill %1").arg(pid);
    addCopying(*menu, QMenu::tr("Copy command line"), QString::fromStdString(item.command));
    addCopying(*menu, QMenu::tr("Copy PID"), pid);
    addCopying(*menu, QMenu::tr("Copy `%1`").arg(kill), kill);
    FileBrowser& browser = model.fileBrowser();
    QAction* const reveal = menu->addAction(browser.revealLabel());
    const auto folder = model.workingDirectory(item);
    reveal->setEnabled(folder.has_value());
    if (folder) {
        QMenu::connect(reveal, &QAction::triggered, menu, [folder, &browser] { browser.reveal(*folder); });
    }
    return menu;
}

void popUp(const StraysModel& model, const StraysModel::Item& item, const QPoint& where, QWidget* parent) {
    QMenu* const menu = make(model, item, parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(where);
}

} // namespace Vintrel::StrayMenu
