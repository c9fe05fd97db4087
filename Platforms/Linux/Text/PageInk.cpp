#include "Platforms/Linux/Text/PageInk.hpp"

#include <cstdlib>
#include <limits>
#include <numeric>

namespace Linux {

namespace {

using Colour = std::uint32_t;

constexpr int red(Colour colour) {
    return static_cast<int>(colour >> 16 & 0xff);
}
constexpr int green(Colour colour) {
    return static_cast<int>(colour >> 8 & 0xff);
}
constexpr int blue(Colour colour) {
    return static_cast<int>(colour & 0xff);
}

bool areAlike(Colour one, Colour other, int step) {
    return one == other ||
           (std::abs(red(one) - red(other)) <= step && std::abs(green(one) - green(other)) <= step &&
            std::abs(blue(one) - blue(other)) <= step);
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
bool isGround(const Surface& surface, int leastArea) {
    constexpr int surely = 20'000; // pixels
    if (surface.area >= surely) {
        return true;
    }
    const int width = surface.box.width();
    const int height = surface.box.height();
    if (width < 14 || height < 10 || surface.area < leastArea) {
        return false;
    }
    const double edge = surface.onEdge / (2.0 * (width + height) - 4);
    const double filled = surface.area / (static_cast<double>(width) * height);
    const bool isWide = width >= 1.25 * height || height >= 60;
    return isWide ? edge >= 0.7 && filled >= 0.45 : edge >= 0.85 && filled >= 0.6;
}

/// Finds what things are written on.
class Grounds {
public:
    Grounds(std::span<const Colour> rgb, int width, int height)
        : rgb_(rgb)
        , width_(width)
        , height_(height)
        , labelAt_(rgb.size())
        , away_(rgb.size(), unknown) {}

    /// Neighbours whose colours differ by no more than `step` (of 255, each) are of one surface, and such
    /// surfaces of at least so many pixels are grounds, beside those found before.
    void find(int step, int leastArea) {
        Labels labels;
        const auto isOpen = [this](std::size_t pixel) { return away_[pixel] != 0; };
        forEach([&](int x, int y, std::size_t here) {
            if (!isOpen(here)) {
                return;
            }
            const std::size_t above = here - static_cast<std::size_t>(width_);
            const bool goesLeft = x > 0 && isOpen(here - 1) && areAlike(rgb_[here], rgb_[here - 1], step);
            const bool goesUp = y > 0 && isOpen(above) && areAlike(rgb_[here], rgb_[above], step);
            if (goesLeft && goesUp && labelAt_[here - 1] != labelAt_[above]) {
                labelAt_[here] = labels.join(labelAt_[here - 1], labelAt_[above]);
            } else {
                labelAt_[here] = goesLeft ? labelAt_[here - 1] : goesUp ? labelAt_[above] : labels.fresh();
            }
        });
        std::vector<Surface> surfaces(static_cast<std::size_t>(labels.close()));
        forEach([&](int x, int y, std::size_t here) {
            if (isOpen(here)) {
                labelAt_[here] = labels.number(labelAt_[here]);
                auto& surface = surfaces[static_cast<std::size_t>(labelAt_[here])];
                surface.box.unite({x, y, x + 1, y + 1});
                ++surface.area;
            }
        });
        forEach([&](int x, int y, std::size_t here) {
            if (isOpen(here)) {
                auto& surface = surfaces[static_cast<std::size_t>(labelAt_[here])];
                surface.onEdge += x == surface.box.left || x == surface.box.right - 1 ||
                                  y == surface.box.top || y == surface.box.bottom - 1;
            }
        });
        std::vector<char> areGrounds(surfaces.size());
        std::transform(surfaces.begin(), surfaces.end(), areGrounds.begin(),
                       [&](const Surface& surface) { return isGround(surface, leastArea); });
        forEach([&](int, int, std::size_t here) {
            if (isOpen(here) && areGrounds[static_cast<std::size_t>(labelAt_[here])]) {
                away_[here] = 0;
            }
        });
    }

    /// For each pixel, how far its colour is from that of the nearest ground; all the way where there is
    /// none.
    std::vector<std::uint8_t> ink() {
        std::vector<Colour> nearest(rgb_.begin(), rgb_.end());
        const auto take = [&](std::size_t here, std::size_t from) {
            if (away_[from] + 1 < away_[here]) {
                away_[here] = static_cast<std::uint8_t>(away_[from] + 1);
                nearest[here] = nearest[from];
            }
        };
        const auto row = static_cast<std::size_t>(width_);
        forEach([&](int x, int y, std::size_t here) {
            if (x > 0) {
                take(here, here - 1);
            }
            if (y > 0) {
                take(here, here - row);
            }
        });
        for (int y = height_ - 1; y >= 0; --y) {
            for (int x = width_ - 1; x >= 0; --x) {
                const std::size_t here = static_cast<std::size_t>(y) * row + static_cast<std::size_t>(x);
                if (x + 1 < width_) {
                    take(here, here + 1);
                }
                if (y + 1 < height_) {
                    take(here, here + row);
                }
            }
        }
        std::vector<std::uint8_t> ink(rgb_.size());
        for (std::size_t here = 0; here < ink.size(); ++here) {
            ink[here] =
                away_[here] == unknown ? 255 : static_cast<std::uint8_t>(distance(rgb_[here], nearest[here]));
        }
        return ink;
    }

private:
    static constexpr std::uint8_t unknown = 255;

    template <class Look>
    void forEach(Look look) const {
        std::size_t here = 0;
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                look(x, y, here++);
            }
        }
    }

    const std::span<const Colour> rgb_;
    const int width_;
    const int height_;
    std::vector<std::int32_t> labelAt_;
    std::vector<std::uint8_t> away_; // for each pixel, how far the nearest ground is; 0 on one
};

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
    {
        Grounds grounds(rgb, width, height);
        grounds.find(4, 0); // flat colours and gradients
        // Photographs. Only what is large can be one: the steps are those within the edge of a letter.
        grounds.find(16, 2000);
        grounds.find(32, 2000);
        page.ink = grounds.ink();
    }
    findBlobs(page);
    return page;
}

} // namespace Linux
