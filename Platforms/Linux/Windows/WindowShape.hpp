#pragma once

#include "Platforms/Linux/Windows/Struts.hpp"

#include <cstdint>
#include <span>

namespace Linux {

/// Widths along the four edges of a window.
struct Edges {
    std::int32_t left = 0;
    std::int32_t right = 0;
    std::int32_t top = 0;
    std::int32_t bottom = 0;
    bool operator==(const Edges&) const = default;
};

/// The sizes a window takes along one axis: from `least` to `most`, in steps counted from `base`.
struct Lengths {
    std::int32_t least = 1;
    std::int32_t most = 32'767; // a window cannot be larger
    std::int32_t base = 0;
    std::int32_t step = 1;
    bool operator==(const Lengths&) const = default;

    /// The greatest of them that is no greater than `wanted`; else the least.
    std::int32_t nearest(std::int32_t wanted) const;
};

/// What a program says of its window's size (WM_NORMAL_HINTS).
struct SizeHints {
    Lengths width;
    Lengths height;
    bool hasAspect = false; // width and height depend on each other
    bool operator==(const SizeHints&) const = default;
};

/// A window as it is on the X screen. A frame is drawn by the window manager around the client, a shadow by
/// the client inside of its own edges. The client is measured without the border that the server draws around
/// it, if any; that counts as a part of the frame.
struct WindowShape {
    PixelRect client;
    Edges frame;
    Edges shadow;
    SizeHints hints;
    std::int32_t border = 0;
    bool isFrameTold = true; // by the window manager, else the frame was looked at
};

/// From _NET_FRAME_EXTENTS or _GTK_FRAME_EXTENTS. No edges where the property makes no sense.
Edges edges(std::span<const std::uint32_t> numbers);

/// What lies around the inner one of two rectangles. No edges where that cannot be a frame.
Edges edgesAround(const PixelRect& inner, const PixelRect& outer);

/// From WM_NORMAL_HINTS. Nonsense is left out.
SizeHints sizeHints(std::span<const std::uint32_t> numbers);

/// What the user sees of it: with the frame, without the shadow.
PixelRect visibleRect(const WindowShape& shape);

/// What to ask of the window manager so that the user sees the window fill `visible`: the size is that of the
/// client, as near as its hints allow and no greater unless they want that; the corner is that of the frame.
/// A window manager that tells nothing of its frames leaves them out of account here too: for it, the corner
/// is the client's, with its border.
PixelRect placement(const PixelRect& visible, const WindowShape& shape);

/// What the user sees of it once it is placed like that.
PixelRect placed(const PixelRect& visible, const WindowShape& shape);

/// Whether a window's visible corner is where that of `visible` is, and its size as near as it can be.
bool isSettled(const PixelRect& visible, const WindowShape& shape);

} // namespace Linux
