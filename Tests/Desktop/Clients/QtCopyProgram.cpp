// A program that has copied something, as programs made with Qt do it, for the desktop tests:
//
//     qt_copy_program FORMAT=VALUE...
//
//     qt_copy_program --paste
//
// "image/png=WxH" is a picture of that size; every other value is what its format says: "text/plain=Tea",
// "text/uri-list=file:///a.txt". It prints "ready" once others can paste, and "lost" when something else was
// copied. With "--paste" it says what can be pasted, and ends: "picture WxH AARRGGBB", the colour being that
// of its last pixel, or "no picture".

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>

#include <cstdio>
#include <memory>

namespace {

void say(const char* what) {
    std::printf("%s\n", what);
    std::fflush(stdout);
}

void add(QMimeData& content, const QString& format, const QString& value) {
    if (format == "image/png") {
        QImage picture(value.section('x', 0, 0).toInt(), value.section('x', 1).toInt(), QImage::Format_RGB32);
        picture.fill(Qt::darkYellow);
        content.setImageData(picture);
    } else if (format == "text/plain") {
        content.setText(value);
    } else {
        content.setData(format, value.toUtf8());
    }
}

int paste() {
    const QImage picture = QGuiApplication::clipboard()->image();
    if (picture.isNull()) {
        say("no picture");
    } else {
        const QRgb last = picture.pixel(picture.width() - 1, picture.height() - 1);
        std::printf("picture %dx%d %08x\n", picture.width(), picture.height(), last);
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    QGuiApplication application(argumentCount, arguments);
    if (QGuiApplication::arguments().value(1) == "--paste") {
        return paste();
    }
    auto content = std::make_unique<QMimeData>();
    for (const QString& argument : QGuiApplication::arguments().mid(1)) {
        add(*content, argument.section('=', 0, 0), argument.section('=', 1));
    }
    QClipboard& clipboard = *QGuiApplication::clipboard();
    clipboard.setMimeData(content.release());
    QObject::connect(&clipboard, &QClipboard::dataChanged, &application, [&clipboard] {
        if (!clipboard.ownsClipboard()) {
            say("lost");
        }
    });
    say(clipboard.ownsClipboard() ? "ready" : "refused");
    return QGuiApplication::exec();
}
