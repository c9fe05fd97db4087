#pragma once

#include "ZorbelKit/Uuid.hpp"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Duvesk {

/// Why something was found.
enum class Kind { cache, large, leftover };
inline constexpr std::array allKinds{Kind::cache, Kind::large, Kind::leftover};

/// "Cache", "Large file", "Left behind".
std::string_view kindText(Kind kind);

/// A folder or a file whose space could be given back.
struct Finding {
    ZorbelKit::Uuid id = ZorbelKit::Uuid::make();
    Kind kind = Kind::cache;
    std::filesystem::path url{}; // what would go to the Trash; its name is bytes, in no encoding for sure
    std::int64_t bytes = 0;
    std::string note{}; // one line of UTF-8
    bool selected = true;

    bool operator==(const Finding&) const = default;
};

} // namespace Duvesk
