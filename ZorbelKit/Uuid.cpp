#include "ZorbelKit/Uuid.hpp"

#include <random>

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

} // namespace ZorbelKit
