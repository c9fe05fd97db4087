#include "Platforms/Linux/Shelf/X11FloatingPanels.hpp"

namespace Linux {

void prepareFloatingPanel(QWidget&) {
}

} // namespace Linux
