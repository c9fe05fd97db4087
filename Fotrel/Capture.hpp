#pragma once

#include "ZorbelKit/Picture.hpp"
#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Uuid.hpp"

#include <optional>
#include <string>

namespace Fotrel {

/// A picture that was taken, and the words in it.
struct Capture {
    ZorbelKit::Uuid id = ZorbelKit::Uuid::make();
    ZorbelKit::Picture image{};
    ZorbelKit::TimePoint takenAt{};    // when it came into the list
    std::optional<std::string> text{}; // none while it is read, and where there is none
    bool isReading = false;

    bool operator==(const Capture&) const = default;
};

} // namespace Fotrel
