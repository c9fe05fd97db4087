#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Linux {

/// In pixels of the page, y growing downwards; right and bottom are the first outside.
struct PageBox {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    void unite(const PageBox& other) {
        left = std::min(left, other.left);
        top = std::min(top, other.top);
        right = std::max(right, other.right);
        bottom = std::max(bottom, other.bottom);
    }
};

/// Ink that hangs together: a letter, several that touch, or no letter at all.
struct Blob {
    PageBox box{};
    int area = 0;               // pixels
    std::uint8_t strongest = 0; // of its ink
};

/// What stands out from the ground it is on, whatever the colours of both: a page of a dark theme, a white
/// one and a coloured button come out alike.
struct PageInk {
    static constexpr std::int32_t none = -1;

    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> ink{};    // for each pixel, how far its colour is from that of the ground
    std::vector<std::int32_t> blobAt{}; // for each pixel, an index of `blobs` or none
    std::vector<Blob> blobs{};

    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
};

/// `rgb` are rows from the top, each pixel 0x..RRGGBB.
PageInk inkOf(std::span<const std::uint32_t> rgb, int width, int height);

} // namespace Linux
