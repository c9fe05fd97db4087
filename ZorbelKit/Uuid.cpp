#include "ZorbelKit/Uuid.hpp"

#include <algorithm>
#include <array>
#include <random>
#include <string_view>

namespace ZorbelKit {

Uuid Uuid::make() {
    static thread_local std::mt19937_64 generator = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }();
    constexpr std::uint64_t version = 4;
    constexpr std::uint64_t variant = 2;
    return {(generator() & ~(std::uint64_t{0xF} << 12)) | version << 12,
            (generator() & ~(std::uint64_t{3} << 62)) | variant << 62};
}

std::string Uuid::text() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::array<std::size_t, 4> hyphens{8, 12, 16, 20}; // before these digits
    std::string result;
    for (std::size_t index = 0; index < 32; ++index) {
        if (std::ranges::find(hyphens, index) != hyphens.end()) {
            result += '-';
        }
        const std::uint64_t half = index < 16 ? high : low;
        result += digits[half >> (60 - index % 16 * 4) & 0xF];
    }
    return result;
}

} // namespace ZorbelKit
