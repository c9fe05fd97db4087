#include "Benchmarks/TextScore.hpp"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

namespace Bench {

namespace {

std::vector<std::string_view> codePoints(std::string_view text) {
    std::vector<std::string_view> points;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = begin + 1;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U) {
            ++end;
        }
        points.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return points;
}

} // namespace

std::string folded(std::string_view text) {
    std::string result;
    bool isGap = false;
    for (const char letter : text) {
        if (std::isspace(static_cast<unsigned char>(letter))) {
            isGap = !result.empty();
            continue;
        }
        if (isGap) {
            result += ' ';
            isGap = false;
        }
        result += letter;
    }
    return result;
}

std::size_t editDistance(std::string_view one, std::string_view other) {
    const auto from = codePoints(one);
    const auto to = codePoints(other);
    std::vector<std::size_t> costs(to.size() + 1);
    std::iota(costs.begin(), costs.end(), std::size_t{0});
    for (std::size_t row = 0; row < from.size(); ++row) {
        std::size_t diagonal = costs[0];
        costs[0] = row + 1;
        for (std::size_t column = 0; column < to.size(); ++column) {
            const std::size_t replaced = diagonal + (from[row] == to[column] ? 0 : 1);
            diagonal = costs[column + 1];
            costs[column + 1] = std::min({costs[column] + 1, diagonal + 1, replaced});
        }
    }
    return costs.back();
}

void TextScore::add(std::string_view known, std::string_view read) {
    const std::string expected = folded(known);
    errors_ += editDistance(expected, folded(read));
    length_ += codePoints(expected).size();
}

double TextScore::rate() const {
    return length_ == 0 ? 0 : static_cast<double>(errors_) / static_cast<double>(length_);
}

} // namespace Bench
