#include "Mordan/Wound.hpp"

#include <array>
#include <cstddef>

namespace Mordan {

std::string_view rawValue(Wound::Kind kind) {
    constexpr std::array<std::string_view, 6> values{"text", "code", "url", "colour", "image", "file"};
    return values.at(static_cast<std::size_t>(kind));
}

} // namespace Mordan
