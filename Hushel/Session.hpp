#pragma once

#include "ZorbelKit/Time.hpp"

#include <cstdint>
#include <string>

namespace Hushel {

/// An application on the list.
struct Blocked {
    std::string bundleID; // tells it from others
    std::string name;     // UTF-8, as it was called when it was added

    bool operator==(const Blocked&) const = default;
};

/// A time of quiet.
struct Session {
    ZorbelKit::TimePoint startedAt{};
    std::int64_t minutes = 0;       // as planned
    std::int64_t interruptions = 0; // how often the user brought a listed application to the front

    ZorbelKit::TimePoint endsAt() const; // the end of all time, where that comes first
    ZorbelKit::Seconds remaining(ZorbelKit::TimePoint now) const; // never below 0
    double progress(ZorbelKit::TimePoint now) const; // 1 at the end, and where nothing was planned

    bool operator==(const Session&) const = default;
};

} // namespace Hushel
