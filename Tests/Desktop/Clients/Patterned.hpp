#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Desktop {

/// A text of so many bytes in which every part tells whose it is: mixed with another, it cannot pass for
/// whole.
inline std::string patterned(std::string_view word, std::size_t size) {
    std::string result;
    result.reserve(size + word.size() + 24);
    for (std::size_t line = 0; result.size() < size; ++line) {
        result.append(word).append(1, ' ').append(std::to_string(line)).append(1, '\n');
    }
    result.resize(size);
    return result;
}

} // namespace Desktop
