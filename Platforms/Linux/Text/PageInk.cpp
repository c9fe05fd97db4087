#include "Platforms/Linux/Text/PageInk.hpp"

#include <cstdlib>
#include <limits>
#include <numeric>

namespace Linux {

namespace {

using Colour = std::uint32_t;

constexpr int red(Colour colour) { return static_cast<int>(colour >> 16 & 0xff); }
constexpr int green(Colour colour) { return static_cast<int>(colour >> 8 & 0xff); }
constexpr int blue(Colour colour) { return static_cast<int>(colour & 0xff); }

// Neighbours that differ by no more belong to one surface: a gradient, or a flat colour that was dithered.
constexpr int surfaceStep = 4; // of 255, of each colour

bool areAlike(Colour one, Colour other) {
    return one == other || (std::abs(red(one) - red(other)) <= surfaceStep &&
                            std::abs(green(one) - green(other)) <= surfaceStep &&
                            std::abs(blue(one) - blue(other)) <= surfaceStep);
}

int distance(Colour one, Colour other) {
    return (std::abs(red(one) - red(other)) + std::abs(green(one) - green(other)) +
            std::abs(blue(one) - blue(other))) /
           3;
}

/// Sets of pixels that hang together, found in one pass over the rows.
class Labels {
public:
    std::int32_t fresh() {
        parents_.push_back(static_cast<std::int32_t>(parents_.size()));
        return parents_.back();
    }
    std::int32_t root(std::int32_t label) {
        while (at(label) != label) {
            at(label) = at(at(label));
            label = at(label);
        }
        return label;
    }
    std::int32_t join(std::int32_t one, std::int32_t other) {
        one = root(one);
        other = root(other);
        at(std::max(one, other)) = std::min(one, other);
        return std::min(one, other);
    }

    /// Numbers the sets from zero; returns how many there are. From then on `number` holds.
    std::int32_t close() {
        std::int32_t count = 0;
        for (std::int32_t label = 0; label < static_cast<std::int32_t>(parents_.size()); ++label) {
            // A parent is never later than its child, and has its number already.
            at(label) = at(label) == label ? count++ : at(at(label));
        }
        return count;
    }
    std::int32_t number(std::int32_t label) const { return parents_[static_cast<std::size_t>(label)]; }

private:
    std::int32_t& at(std::int32_t label) { return parents_[static_cast<std::size_t>(label)]; }

    std::vector<std::int32_t> parents_;
};

struct Surface {
    PageBox box{std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), 0, 0};
    int area = 0;
    int onEdge = 0; // pixels on the edge of its box
};

/// Whether things are written on it, rather than it being a stroke of a letter.
bool isGround(const Surface& surface) {
    constexpr int surely = 20'000; // pixels
    if (surface.area >= surely) {
        return true;
    }
    const int width = surface.box.width();
    const int height = surface.box.height();
    if (width < 14 || height < 10) {
        return false;
    }
    const double edge = surface.onEdge / (2.0 * (width + height) - 4);
    const double filled = surface.area / (static_cast<double>(width) * height);
    const bool isWide = width >= 1.25 * height || height >= 60;
    return isWide ? edge >= 0.7 && filled >= 0.45 : edge >= 0.85 && filled >= 0.6;
}

/// For each pixel the colour of the ground that it is on, or that is nearest.
std::vector<Colour> groundsOf(std::span<const Colour> rgb, int width, int height,
                              std::vector<std::uint8_t>& distances) {
    const auto index = [width](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    };
    Labels labels;
    std::vector<std::int32_t> labelAt(rgb.size());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto here = index(x, y);
            const bool goesLeft = x > 0 && areAlike(rgb[here], rgb[here - 1]);
            const bool goesUp = y > 0 && areAlike(rgb[here], rgb[index(x, y - 1)]);
            if (goesLeft && goesUp) {
                const auto left = labelAt[here - 1];
                const auto up = labelAt[index(x, y - 1)];
                labelAt[here] = left == up ? left : labels.join(left, up);
            } else if (goesLeft) {
                labelAt[here] = labelAt[here - 1];
            } else if (goesUp) {
                labelAt[here] = labelAt[index(x, y - 1)];
            } else {
                labelAt[here] = labels.fresh();
            }
        }
    }
    std::vector<Surface> surfaces(static_cast<std::size_t>(labels.close()));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto& label = labelAt[index(x, y)];
            label = labels.number(label);
            auto& surface = surfaces[static_cast<std::size_t>(label)];
            surface.box.unite({x, y, x + 1, y + 1});
            ++surface.area;
        }
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto& surface = surfaces[static_cast<std::size_t>(labelAt[index(x, y)])];
            surface.onEdge += x == surface.box.left || x == surface.box.right - 1 || y == surface.box.top ||
                              y == surface.box.bottom - 1;
        }
    }
    std::vector<char> isGroundAt(surfaces.size());
    std::transform(surfaces.begin(), surfaces.end(), isGroundAt.begin(),
                   [](const Surface& surface) { return isGround(surface); });

    constexpr std::uint8_t far = 255;
    std::vector<Colour> grounds(rgb.begin(), rgb.end());
    distances.assign(rgb.size(), far);
    const auto take = [&](std::size_t here, std::size_t from) {
        if (distances[from] + 1 < distances[here]) {
            distances[here] = static_cast<std::uint8_t>(distances[from] + 1);
            grounds[here] = grounds[from];
        }
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto here = index(x, y);
            if (isGroundAt[static_cast<std::size_t>(labelAt[here])]) {
                distances[here] = 0;
                continue;
            }
            if (x > 0) {
                take(here, here - 1);
            }
            if (y > 0) {
                take(here, index(x, y - 1));
            }
        }
    }
    for (int y = height - 1; y >= 0; --y) {
        for (int x = width - 1; x >= 0; --x) {
            const auto here = index(x, y);
            if (x + 1 < width) {
                take(here, here + 1);
            }
            if (y + 1 < height) {
                take(here, index(x, y + 1));
            }
        }
    }
    return grounds;
}

void findBlobs(PageInk& page) {
    constexpr int faintest = 10; // of 255
    Labels labels;
    page.blobAt.assign(page.ink.size(), PageInk::none);
    for (int y = 0; y < page.height; ++y) {
        for (int x = 0; x < page.width; ++x) {
            const auto here = page.index(x, y);
            if (page.ink[here] < faintest) {
                continue;
            }
            std::int32_t label = x > 0 ? page.blobAt[here - 1] : PageInk::none;
            for (int above = std::max(0, x - 1); y > 0 && above <= std::min(page.width - 1, x + 1); ++above) {
                const auto other = page.blobAt[page.index(above, y - 1)];
                if (other != PageInk::none && other != label) {
                    label = label == PageInk::none ? other : labels.join(label, other);
                }
            }
            page.blobAt[here] = label == PageInk::none ? labels.fresh() : label;
        }
    }
    page.blobs.assign(static_cast<std::size_t>(labels.close()),
                      {.box = {std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), 0, 0}});
    for (int y = 0; y < page.height; ++y) {
        for (int x = 0; x < page.width; ++x) {
            const auto here = page.index(x, y);
            if (page.blobAt[here] == PageInk::none) {
                continue;
            }
            page.blobAt[here] = labels.number(page.blobAt[here]);
            auto& blob = page.blobs[static_cast<std::size_t>(page.blobAt[here])];
            blob.box.unite({x, y, x + 1, y + 1});
            ++blob.area;
            blob.strongest = std::max(blob.strongest, page.ink[here]);
        }
    }
}

} // namespace

PageInk inkOf(std::span<const Colour> rgb, int width, int height) {
    PageInk page{.width = width, .height = height};
    std::vector<std::uint8_t> distances;
    const auto grounds = groundsOf(rgb, width, height, distances);
    page.ink.resize(rgb.size());
    for (std::size_t here = 0; here < rgb.size(); ++here) {
        page.ink[here] =
            distances[here] == 255 ? 255 : static_cast<std::uint8_t>(distance(rgb[here], grounds[here]));
    }
    findBlobs(page);
    return page;
}

} // namespace Linux
