#pragma once

#include "Mordan/Wound.hpp"
#include "ZorbelKit/Color.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Mordan {

/// The symbol that stands for a kind of entry, by its name among the program's drawings.
std::string_view symbolName(Wound::Kind kind);

/// What a kind is called: "Text", "Code", "Link", "Colour", "Image", "File".
std::string_view kindText(Wound::Kind kind);

/// A preview as one line: runs of white space, line ends and control characters become one space each.
std::string lineText(std::string_view preview);

/// The colour that a colour entry writes, "#rgb" or "#rrggbb" with white space around it; none for any other
/// text.
std::optional<ZorbelKit::Color> writtenColour(std::string_view preview);

/// How many entries are listed of those held: "12", or "3 of 12" while a search holds some back.
std::string countText(std::size_t shown, std::size_t held);

} // namespace Mordan
