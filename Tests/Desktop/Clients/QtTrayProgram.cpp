// A program with an icon in the tray as Qt makes it, for the desktop tests:
//
//     qt_tray_program ID COLOUR
//
// It shows a square of one colour ("#00a0ff") and a menu, and prints what happens to it, a line each. A "%p"
// in the ID becomes the number of the process, as some programs have it.

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

#include <cstdio>

namespace {

void say(const char* what, const QString& more = {}) {
    std::printf("%s%s%s\n", what, more.isEmpty() ? "" : " ", qPrintable(more));
    std::fflush(stdout);
}

QIcon plainIcon(const QColor& colour) {
    QPixmap picture(64, 64);
    picture.fill(colour);
    return picture;
}

} // namespace

int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    const QStringList words = QApplication::arguments();
    if (words.size() != 3) {
        std::fprintf(stderr, "usage: qt_tray_program ID COLOUR\n");
        return 2;
    }
    QApplication::setApplicationName(
        QString(words[1]).replace("%p", QString::number(QApplication::applicationPid())));
    QApplication::setQuitOnLastWindowClosed(false);
    const QColor colour(words[2]);

    QMenu menu;
    const auto add = [](QMenu& to, const QString& text) {
        QAction* action = to.addAction(text);
        QObject::connect(action, &QAction::triggered, action, [action] {
            say(action->isCheckable() ? (action->isChecked() ? "checked" : "unchecked") : "chosen",
                action->text());
        });
        return action;
    };
    add(menu, "Open")->setIcon(plainIcon(Qt::magenta));
    add(menu, "Awake")->setCheckable(true);
    menu.addSeparator();
    QMenu* more = menu.addMenu("More");
    add(*more, "Deep");
    add(menu, "Leave");
    QObject::connect(&menu, &QMenu::aboutToShow, &menu, [] { say("menu"); });

    QSystemTrayIcon icon(plainIcon(colour));
    icon.setToolTip("Qt " + words[1]);
    icon.setContextMenu(&menu);
    QObject::connect(&icon, &QSystemTrayIcon::activated, &icon, [](QSystemTrayIcon::ActivationReason reason) {
        switch (reason) {
        case QSystemTrayIcon::Trigger:
            say("activated");
            break;
        case QSystemTrayIcon::MiddleClick:
            say("middle");
            break;
        case QSystemTrayIcon::Context:
            say("context");
            break;
        default:
            say("other");
            break;
        }
    });
    icon.show();
    say("shown");
    return QApplication::exec();
}
