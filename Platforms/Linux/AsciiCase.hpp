#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace Linux {

/// In lower case, as far as ASCII goes: other bytes stay.
inline std::string lowered(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return lower;
}

} // namespace Linux
