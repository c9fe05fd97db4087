// A program with one window, as programs made with Qt have it, for the desktop tests:
//
//     qt_window_program plain       it takes any size
//     qt_window_program bare        the same, without a frame
//     qt_window_program least       it takes no size below 560 x 420
//     qt_window_program fixed       a dialog that takes no size but its own
//     qt_window_program maximised   shown like that from the beginning
//     qt_window_program fullscreen

#include <QApplication>
#include <QDialog>

#include <memory>

int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    const QString kind = QApplication::arguments().value(1);
    const auto window = kind == "fixed" ? std::make_unique<QDialog>() : std::make_unique<QWidget>();
    window->setWindowTitle("A window");
    window->resize(400, 300);
    if (kind == "bare") {
        window->setWindowFlag(Qt::FramelessWindowHint);
    } else if (kind == "least") {
        window->setMinimumSize(560, 420);
    } else if (kind == "fixed") {
        window->setFixedSize(400, 300);
    } else if (kind == "maximised") {
        window->setWindowState(Qt::WindowMaximized);
    } else if (kind == "fullscreen") {
        window->setWindowState(Qt::WindowFullScreen);
    }
    window->show();
    return QApplication::exec();
}
