// The floor: the least a Qt Widgets program needs for an icon with a menu in the tray.

#include <QApplication>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QWidget>

int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);

    QWidget window;
    window.resize(400, 300);

    QMenu menu;
    menu.addAction("Show", &window, &QWidget::show);
    menu.addAction("Quit", &application, &QApplication::quit);

    QPixmap picture(22, 22);
    picture.fill(Qt::darkGreen);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.setContextMenu(&menu);
    icon.show();
    return QApplication::exec();
}
