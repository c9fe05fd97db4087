#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace ZorbelKit {

/// What tells one item of a list from every other, for as long as the program runs and beyond.
struct Uuid {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    /// A new random one (version 4).
    static Uuid make();

    /// "6BA7B810-9DAD-41D1-80B4-00C04FD430C8".
    std::string text() const;

    auto operator<=>(const Uuid&) const = default;
};

} // namespace ZorbelKit

template <>
struct std::hash<ZorbelKit::Uuid> {
    std::size_t operator()(const ZorbelKit::Uuid& uuid) const noexcept {
        return static_cast<std::size_t>(uuid.low); // random already
    }
};
