#pragma once

#include "ZorbelKit/SharedText.hpp"
#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Uuid.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace Mordan {

/// One thing that was copied, wound up and kept.
struct Wound {
    enum class Kind { text, code, url, colour, image, file };

    ZorbelKit::Uuid id;
    Kind kind = Kind::text;
    std::string preview; // what is listed, searched and compared; 400 characters at most
    std::optional<ZorbelKit::SharedText> text; // what is put back; none for a picture
    ZorbelKit::TimePoint woundAt;              // when it was copied, or last copied again
    bool pinned = false;                       // never trimmed, and kept while the spice is off
    std::optional<std::string> source;         // the program in front when it was copied

    bool operator==(const Wound&) const = default;
};

/// "text", "code", "url", "colour", "image", "file".
std::string_view rawValue(Wound::Kind kind);

} // namespace Mordan
