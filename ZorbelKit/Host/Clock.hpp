#pragma once

#include "ZorbelKit/Time.hpp"

namespace ZorbelKit {

/// The wall clock and the user's calendar. Rates and timers never come from here: it can be set back.
class Clock {
public:
    virtual ~Clock() = default;

    virtual TimePoint now() const = 0;

    /// Midnight, in the user's time zone, at or before `moment`.
    virtual TimePoint startOfDay(TimePoint moment) const = 0;
};

} // namespace ZorbelKit
