#include "Platforms/Qt/QtPanels.hpp"

namespace QtPlatform {

void QtPanels::putAway(std::function<void()> gone) {
    gone();
}

} // namespace QtPlatform
