#pragma once

#include "ZorbelKit/Time.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Hushel {

struct Blocked;

/// The lengths a session is offered in, in minutes.
inline constexpr std::array<std::int64_t, 5> presetMinutes{15, 25, 45, 60, 90};

/// Whole seconds, the rest cut off, as minutes and seconds: "25:00", "0:59". Minutes are not folded into
/// hours; below 0 reads 0:00.
std::string clockText(ZorbelKit::Seconds remaining);

/// What was left at the last of the session's whole seconds. A clock that shows this has each second for a
/// second, from the planned length on, however late the hand that writes it is.
ZorbelKit::Seconds atLastSecond(ZorbelKit::Seconds remaining);

/// From now to the session's next whole second: more than 0, at most 1.
ZorbelKit::Seconds untilNextSecond(ZorbelKit::Seconds remaining);

/// "Start 25m session".
std::string startText(std::int64_t minutes);

/// "Ends at 10:25 AM".
std::string endText(std::string_view timeOfDay);

/// "2 times you reached for something"; empty before the first.
std::string interruptionText(std::int64_t interruptions);

/// A program's name as one line of bounded length, as it may call itself anything. One without a name is
/// called by its identifier.
std::string nameText(const Blocked& application);

/// A line for each of these, up to three: "Notes cannot be hidden here."
std::string outOfReachText(const std::vector<std::string>& names);

} // namespace Hushel
