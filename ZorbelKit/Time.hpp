#pragma once

#include <chrono>

namespace ZorbelKit {

/// Every duration of the suite, in seconds.
using Seconds = std::chrono::duration<double>;

/// A moment of the wall clock, to the nanosecond.
using TimePoint = std::chrono::sys_time<std::chrono::nanoseconds>;

} // namespace ZorbelKit
