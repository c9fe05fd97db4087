#include "Platforms/Linux/MenuBar/XEmbedTray.hpp"
#include "Platforms/Linux/TerminationSignals.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"

#include <QColor>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>

#include <cstdio>
#include <memory>
#include <utility>

/// A program with a bar along the top of the screen and the tray in it, made as Zorbel's is: the bar belongs
/// to the toolkit's connection, the tray has one of its own. Says "docked" with every icon. Ends in good
/// order when it is asked to, and in none when it is killed.

namespace {

constexpr int barHeight = 28;
constexpr int cellWidth = 40;

class Bar : public QRasterWindow {
public:
    explicit Bar(QColor colour)
        : colour_(colour) {
        setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus | Qt::WindowStaysOnTopHint);
        setGeometry(0, 0, 800, barHeight);
    }

private:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(0, 0, width(), height(), colour_); }

    QColor colour_;
};

} // namespace

int main(int argumentCount, char** arguments) {
    QGuiApplication application(argumentCount, arguments);
    QtPlatform::QtMainLoop loop;
    const QColor colour(Qt::darkGreen);
    Bar bar(colour);
    bar.show();

    int count = 0;
    std::unique_ptr<Linux::XEmbedTray> tray;
    Linux::XEmbedTray::Events events;
    events.docked = [&](const Linux::XEmbedTray::Icon& icon) {
        tray->place(icon.id, {count++ * cellWidth, 0, cellWidth, barHeight});
        std::puts("docked");
        std::fflush(stdout);
    };
    tray = std::make_unique<Linux::XEmbedTray>(loop, std::move(events));
    tray->start({.window = static_cast<std::uint32_t>(bar.winId()), .colour = colour.rgb() & RGB_MASK});

    const Linux::TerminationSignals signals(
        [&] {
            tray->stop(); // before the toolkit takes the bar down
            QCoreApplication::quit();
        },
        [] {});
    return QCoreApplication::exec();
}
