#pragma once

#include "ZorbelKit/Host/Screens.hpp"
#include "ZorbelKit/Observable.hpp"

#include <QObject>

class QScreen;

namespace QtPlatform {

/// Qt's screens. Needs a QGuiApplication.
class QtScreens : public ZorbelKit::Screens {
public:
    QtScreens();

    std::vector<ZorbelKit::Screen> all() const override;
    ZorbelKit::Token onChange(std::function<void()> changed) override;

private:
    void follow(QScreen* screen);

    ZorbelKit::Changes changes_;
    QObject context_; // ends the connections
};

} // namespace QtPlatform
