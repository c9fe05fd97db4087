#pragma once

#include "Platforms/Linux/Text/LineReader.hpp"
#include "Platforms/Linux/Text/PageInk.hpp"

#include <cstdint>
#include <vector>

namespace Linux {

/// A piece of a line of text, no gap in it much wider than between words.
struct TextPiece {
    PageBox box{};
    std::vector<std::int32_t> blobs{}; // indices of those of the page
};

/// The pieces of all lines on a page, in no order.
std::vector<TextPiece> piecesOf(const PageInk& page);

/// Indices of boxes in the order in which people read what is in them, those of one line together: columns
/// from the left, in a column from the top.
std::vector<std::vector<std::size_t>> readingOrder(const std::vector<PageBox>& boxes);

/// A piece by itself, black on white and in the size that is read best, nothing of its neighbours in it.
GreyPicture pictureOf(const PageInk& page, const TextPiece& piece);

} // namespace Linux
