// What the application idle in the tray is compared with: Qt's own tray icon, and nothing else.
#include <QApplication>
#include <QIcon>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    constexpr int size = 22;
    QPixmap picture(size, size);
    picture.fill(Qt::red);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.show();
    return QApplication::exec();
}
