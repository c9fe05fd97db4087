#include "Platforms/Qt/QtAlerts.hpp"

namespace QtPlatform {

class QtAlerts::Window {};

QtAlerts::QtAlerts() = default;
QtAlerts::~QtAlerts() = default;

void QtAlerts::runModal(const ZorbelKit::Alert&) {
}

} // namespace QtPlatform
