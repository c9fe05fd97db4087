#include "Platforms/Linux/Text/TextLines.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>

namespace Linux {

namespace {

// Ink fainter than this is noise, or a line drawn not to be seen.
constexpr int faintestText = 28; // of 255

constexpr int shortestLetter = 4;  // pixels; an x of the smallest text that can be read
constexpr int tallestLetter = 160; // pixels

enum class Kind { letter, mark, nothing };

/// A mark is what is too small to begin a line: a full stop, a dash, the dot of an i.
Kind kindOf(const Blob& blob) {
    const int width = blob.box.width();
    const int height = blob.box.height();
    const double filled = blob.area / (static_cast<double>(width) * height);
    if (blob.strongest < faintestText || height > tallestLetter) {
        return Kind::nothing;
    }
    const bool isRule = (height <= 3 && width > 40) || (width <= 3 && height > 40);
    const bool isFrame = width > 36 && height > 14 && filled < 0.16;
    const bool isPicture = width > 64 && height > 64 && filled > 0.35;
    if (isRule || isFrame || isPicture) {
        return Kind::nothing;
    }
    return height >= shortestLetter ? Kind::letter : Kind::mark;
}

int overlap(const PageBox& one, const PageBox& other) {
    return std::min(one.bottom, other.bottom) - std::max(one.top, other.top);
}

/// The widest gap in a piece, as a share of its height.
constexpr double widestGap = 1.4;

/// Puts side by side what is on one line; boxes and blobs come as pieces and go as fewer.
std::vector<TextPiece> joined(std::vector<TextPiece> parts, int pageHeight) {
    std::sort(parts.begin(), parts.end(),
              [](const TextPiece& one, const TextPiece& other) { return one.box.left < other.box.left; });
    std::vector<TextPiece> pieces;
    std::vector<std::int32_t> lastAt(static_cast<std::size_t>(pageHeight), PageInk::none);
    for (auto& part : parts) {
        std::int32_t best = PageInk::none;
        int most = 0;
        std::int32_t previous = PageInk::none;
        for (int y = part.box.top; y < part.box.bottom; ++y) {
            const auto candidate = lastAt[static_cast<std::size_t>(y)];
            if (candidate == PageInk::none || candidate == previous) {
                continue;
            }
            previous = candidate;
            const auto& box = pieces[static_cast<std::size_t>(candidate)].box;
            const int shared = overlap(box, part.box);
            const int gap = part.box.left - box.right;
            if (2 * shared >= std::min(box.height(), part.box.height()) && shared > most &&
                gap <= std::max(8.0, widestGap * std::max(box.height(), part.box.height()))) {
                best = candidate;
                most = shared;
            }
        }
        if (best == PageInk::none) {
            best = static_cast<std::int32_t>(pieces.size());
            pieces.push_back(std::move(part));
        } else {
            auto& piece = pieces[static_cast<std::size_t>(best)];
            piece.box.unite(part.box);
            piece.blobs.insert(piece.blobs.end(), part.blobs.begin(), part.blobs.end());
        }
        const auto& box = pieces[static_cast<std::size_t>(best)].box;
        std::fill(lastAt.begin() + box.top, lastAt.begin() + box.bottom, best);
    }
    return pieces;
}

/// How far a mark is from a piece, or none where it does not belong to it.
std::optional<int> distance(const PageBox& mark, const PageBox& piece) {
    const int height = piece.height();
    const int across = std::max({0, piece.left - mark.right, mark.left - piece.right});
    const int down = std::max({0, piece.top - mark.bottom, mark.top - piece.bottom});
    if (across > 0.8 * height || down > 0.35 * height || mark.height() > height) {
        return std::nullopt;
    }
    return across + 2 * down;
}

void addMarks(const PageInk& page, const std::vector<std::int32_t>& marks, std::vector<TextPiece>& pieces) {
    constexpr int rowHeight = 32;
    std::vector<std::vector<std::size_t>> rows(static_cast<std::size_t>(page.height / rowHeight + 1));
    for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
        const int reach = pieces[piece].box.height() / 2 + 1;
        const int first = std::max(0, pieces[piece].box.top - reach) / rowHeight;
        const int last = std::min(page.height - 1, pieces[piece].box.bottom + reach) / rowHeight;
        for (int row = first; row <= last; ++row) {
            rows[static_cast<std::size_t>(row)].push_back(piece);
        }
    }
    std::vector<PageBox> letters;
    for (const auto& piece : pieces) {
        letters.push_back(piece.box);
    }
    for (const auto mark : marks) {
        const auto& box = page.blobs[static_cast<std::size_t>(mark)].box;
        std::optional<int> least;
        std::size_t nearest = 0;
        for (const auto piece : rows[static_cast<std::size_t>(box.top / rowHeight)]) {
            const auto away = distance(box, letters[piece]);
            if (away && (!least || *away < *least)) {
                least = away;
                nearest = piece;
            }
        }
        if (least) {
            pieces[nearest].box.unite(box);
            pieces[nearest].blobs.push_back(mark);
        }
    }
}

struct Gap {
    int begin = 0;
    int size = 0;
};

/// The widest stretch that none of the boxes touches.
template <class Begin, class End>
Gap widest(std::vector<std::size_t>& items, Begin begin, End end) {
    std::sort(items.begin(), items.end(),
              [&](std::size_t one, std::size_t other) { return begin(one) < begin(other); });
    Gap gap;
    int reached = end(items.front());
    for (const auto item : items) {
        if (begin(item) - reached > gap.size) {
            gap = {reached, begin(item) - reached};
        }
        reached = std::max(reached, end(item));
    }
    return gap;
}

class Order {
public:
    explicit Order(const std::vector<PageBox>& boxes)
        : boxes_(boxes) {}

    void add(std::vector<std::size_t> items) {
        if (items.empty()) {
            return;
        }
        const auto left = [this](std::size_t item) { return boxes_[item].left; };
        const auto right = [this](std::size_t item) { return boxes_[item].right; };
        const auto top = [this](std::size_t item) { return boxes_[item].top; };
        const auto bottom = [this](std::size_t item) { return boxes_[item].bottom; };
        const int height = middleHeight(items);
        const Gap across = widest(items, left, right);
        if (across.size > widestGap * height && !isOneLine(items, across.size, height)) {
            split(items, [&](std::size_t item) { return left(item) <= across.begin; });
            return;
        }
        const Gap down = widest(items, top, bottom);
        if (down.size > 0) {
            split(items, [&](std::size_t item) { return top(item) <= down.begin - 1; });
            return;
        }
        addRows(items);
    }

    std::vector<std::vector<std::size_t>> lines;

private:
    int middleHeight(const std::vector<std::size_t>& items) const {
        std::vector<int> heights;
        for (const auto item : items) {
            heights.push_back(boxes_[item].height());
        }
        std::nth_element(heights.begin(), heights.begin() + static_cast<std::ptrdiff_t>(heights.size() / 2),
                         heights.end());
        return heights[heights.size() / 2];
    }

    bool isOneLine(const std::vector<std::size_t>& items, int gap, int height) const {
        constexpr int farApart = 4; // heights
        PageBox box = boxes_[items.front()];
        for (const auto item : items) {
            if (2 * overlap(box, boxes_[item]) < std::min(box.height(), boxes_[item].height())) {
                return false;
            }
            box.unite(boxes_[item]);
        }
        return box.height() < 2 * height && gap < farApart * height;
    }

    template <class IsFirst>
    void split(const std::vector<std::size_t>& items, IsFirst isFirst) {
        std::vector<std::size_t> first;
        std::vector<std::size_t> second;
        for (const auto item : items) {
            (isFirst(item) ? first : second).push_back(item);
        }
        add(std::move(first));
        add(std::move(second));
    }

    /// Lines that reach into one another; by their middles.
    void addRows(std::vector<std::size_t>& items) {
        const auto middle = [this](std::size_t item) { return boxes_[item].top + boxes_[item].bottom; };
        std::sort(items.begin(), items.end(),
                  [&](std::size_t one, std::size_t other) { return middle(one) < middle(other); });
        std::size_t begin = 0;
        while (begin < items.size()) {
            std::size_t end = begin + 1;
            while (end < items.size() &&
                   2 * overlap(boxes_[items[begin]], boxes_[items[end]]) >=
                       std::min(boxes_[items[begin]].height(), boxes_[items[end]].height())) {
                ++end;
            }
            std::vector<std::size_t> row(items.begin() + static_cast<std::ptrdiff_t>(begin),
                                         items.begin() + static_cast<std::ptrdiff_t>(end));
            std::sort(row.begin(), row.end(), [this](std::size_t one, std::size_t other) {
                return boxes_[one].left < boxes_[other].left;
            });
            lines.push_back(std::move(row));
            begin = end;
        }
    }

    const std::vector<PageBox>& boxes_;
};

/// Catmull and Rom's curve through the pixels, widened where there are to be fewer of them.
std::vector<float> resampled(const std::vector<float>& rows, int count, int length, int newLength) {
    const double scale = static_cast<double>(newLength) / length;
    const double reach = 2 * std::max(1.0, 1 / scale);
    std::vector<float> result(static_cast<std::size_t>(count) * static_cast<std::size_t>(newLength));
    for (int to = 0; to < newLength; ++to) {
        const double centre = (to + 0.5) / scale - 0.5;
        const int first = static_cast<int>(std::ceil(centre - reach));
        const int last = static_cast<int>(std::floor(centre + reach));
        std::vector<std::pair<int, float>> weights;
        double sum = 0;
        for (int from = first; from <= last; ++from) {
            const double x = std::abs(from - centre) * std::min(1.0, scale);
            const double weight = x < 1   ? (1.5 * x - 2.5) * x * x + 1
                                  : x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2
                                          : 0;
            sum += weight;
            weights.emplace_back(std::clamp(from, 0, length - 1), static_cast<float>(weight));
        }
        for (int row = 0; row < count; ++row) {
            float value = 0;
            for (const auto& [from, weight] : weights) {
                value += weight * rows[static_cast<std::size_t>(row) * static_cast<std::size_t>(length) +
                                       static_cast<std::size_t>(from)];
            }
            // Turned on its side, so that the next call goes the other way.
            result[static_cast<std::size_t>(to) * static_cast<std::size_t>(count) +
                   static_cast<std::size_t>(row)] = value / static_cast<float>(sum);
        }
    }
    return result;
}

} // namespace

std::vector<TextPiece> piecesOf(const PageInk& page) {
    std::vector<TextPiece> letters;
    std::vector<std::int32_t> marks;
    for (std::int32_t blob = 0; blob < static_cast<std::int32_t>(page.blobs.size()); ++blob) {
        const auto& box = page.blobs[static_cast<std::size_t>(blob)].box;
        switch (kindOf(page.blobs[static_cast<std::size_t>(blob)])) {
        case Kind::letter:
            letters.push_back({box, {blob}});
            break;
        case Kind::mark:
            marks.push_back(blob);
            break;
        case Kind::nothing:
            break;
        }
    }
    auto pieces = joined(joined(std::move(letters), page.height), page.height);
    addMarks(page, marks, pieces);
    return joined(std::move(pieces), page.height); // a colon may have been what was between two of them
}

std::vector<std::vector<std::size_t>> readingOrder(const std::vector<PageBox>& boxes) {
    std::vector<std::size_t> items(boxes.size());
    std::iota(items.begin(), items.end(), std::size_t{0});
    Order order(boxes);
    order.add(std::move(items));
    return std::move(order.lines);
}

GreyPicture pictureOf(const PageInk& page, const TextPiece& piece) {
    constexpr double narrowing = 0.85; // what is read column by column is read sooner, and as well
    constexpr int bestHeight = 24;     // pixels, of a line
    constexpr int margin = 8;          // pixels, when it has that height
    const int height = piece.box.height();
    const double scale = std::clamp(static_cast<double>(bestHeight) / height, 0.2, 4.0);
    const int pad = static_cast<int>(std::ceil(margin / scale));
    const int width = piece.box.width() + 2 * pad;
    const int fullHeight = height + 2 * pad;
    std::vector<float> ink(static_cast<std::size_t>(width) * static_cast<std::size_t>(fullHeight));
    auto blobs = piece.blobs;
    std::sort(blobs.begin(), blobs.end());
    for (int y = piece.box.top; y < piece.box.bottom; ++y) {
        for (int x = piece.box.left; x < piece.box.right; ++x) {
            const auto from = page.index(x, y);
            const auto blob = page.blobAt[from];
            if (blob != PageInk::none && std::binary_search(blobs.begin(), blobs.end(), blob)) {
                ink[static_cast<std::size_t>(y - piece.box.top + pad) * static_cast<std::size_t>(width) +
                    static_cast<std::size_t>(x - piece.box.left + pad)] =
                    255.0F * page.ink[from] / page.blobs[static_cast<std::size_t>(blob)].strongest;
            }
        }
    }
    GreyPicture picture{.width = std::max(1, static_cast<int>(std::lround(width * scale * narrowing))),
                        .height = std::max(1, static_cast<int>(std::lround(fullHeight * scale)))};
    ink = resampled(resampled(ink, fullHeight, width, picture.width), picture.width, fullHeight,
                    picture.height);
    picture.grey.resize(ink.size());
    std::transform(ink.begin(), ink.end(), picture.grey.begin(), [](float value) {
        return static_cast<std::uint8_t>(255 - std::clamp(std::lround(value), 0L, 255L));
    });
    return picture;
}

} // namespace Linux
