#pragma once

#include "ZorbelKit/Geometry.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace Linux {

/// The room a bar along the top of a monitor keeps free of other windows, as _NET_WM_STRUT_PARTIAL wants it:
/// left, right, top, bottom, then the range of each along its edge, ends inclusive. Device pixels of the
/// whole root window.
///
/// `monitor` and `others` are in device pixels, y downwards; `barHeight` too. A strut reaches in from the
/// edge of the root window: with another monitor above, it would swallow that one, so then nothing is
/// reserved and the bar floats over what lies below it.
std::array<std::uint32_t, 12> barStrut(const ZorbelKit::Rect& monitor, double barHeight,
                                       const std::vector<ZorbelKit::Rect>& others);

} // namespace Linux
