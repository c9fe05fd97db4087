#include "Platforms/Qt/QtScreens.hpp"

#include "Platforms/Qt/ScreenSpace.hpp"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace QtPlatform {

namespace {

double mainScreenHeight() {
    const QScreen* main = QGuiApplication::primaryScreen();
    return main ? main->geometry().y() + main->geometry().height() : 0;
}

} // namespace

ZorbelKit::Rect toScreenSpace(const QRectF& rect) {
    return {rect.x(), mainScreenHeight() - rect.y() - rect.height(), rect.width(), rect.height()};
}

QRectF fromScreenSpace(const ZorbelKit::Rect& rect) {
    return {rect.x, mainScreenHeight() - rect.y - rect.height, rect.width, rect.height};
}

QtScreens::QtScreens() {
    QObject::connect(qGuiApp, &QGuiApplication::screenAdded, &context_, [this](QScreen* screen) {
        follow(screen);
        changes_.notify();
    });
    QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, &context_, [this] { changes_.notify(); });
    QObject::connect(qGuiApp, &QGuiApplication::primaryScreenChanged, &context_,
                     [this] { changes_.notify(); });
    for (QScreen* screen : QGuiApplication::screens()) {
        follow(screen);
    }
}

void QtScreens::follow(QScreen* screen) {
    QObject::connect(screen, &QScreen::geometryChanged, &context_, [this] { changes_.notify(); });
    QObject::connect(screen, &QScreen::availableGeometryChanged, &context_, [this] { changes_.notify(); });
}

std::vector<ZorbelKit::Screen> QtScreens::all() const {
    std::vector<ZorbelKit::Screen> screens;
    const QScreen* main = QGuiApplication::primaryScreen();
    const auto add = [&](const QScreen& screen) {
        screens.push_back({toScreenSpace(screen.geometry()), toScreenSpace(screen.availableGeometry()),
                           screen.devicePixelRatio(), 0});
    };
    if (main) {
        add(*main);
    }
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen != main) {
            add(*screen);
        }
    }
    return screens;
}

ZorbelKit::Token QtScreens::onChange(std::function<void()> changed) {
    return changes_.observe(std::move(changed));
}

} // namespace QtPlatform
