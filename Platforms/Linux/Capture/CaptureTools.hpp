#pragma once

#include "Fotrel/CaptureTool.hpp"

namespace Linux {

/// The programs that take pictures of an X server's screens: maim, which selects with slop.
Fotrel::CaptureTool x11CaptureTool();

/// Those of a Wayland compositor that lets them: grim, which selects with slurp.
Fotrel::CaptureTool waylandCaptureTool();

/// The one for the session that this process belongs to.
Fotrel::CaptureTool captureTool();

} // namespace Linux
