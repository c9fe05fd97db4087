#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Geometry.hpp"
#include "ZorbelKit/Host/Image.hpp"

/// Draws the suite's one icon: a tumbler of chai, four-fifths full, with three wisps of steam. What is drawn
/// depends on the arguments alone. Standard C++ on a Canvas; y grows upwards.
namespace ZorbelKit::ChaiGlassRenderer {

/// A square template image of `size` points. `steam` is Steam::level(), `phase` Steam::phase() in radians.
Image statusImage(double steam, double phase, double size);

void draw(Canvas& context, const Rect& rect, double steam, double phase, const Color& colour);

} // namespace ZorbelKit::ChaiGlassRenderer
