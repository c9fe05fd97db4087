#include "Hushel/Session.hpp"

#include <algorithm>

namespace Hushel {

using namespace ZorbelKit;

namespace {

using Nanoseconds = TimePoint::duration;
constexpr Nanoseconds minute = std::chrono::minutes(1);

/// Exact for as many minutes as anybody plans; nothing overflows beyond.
Seconds lengthOf(const Session& session) {
    return Seconds(60.0 * static_cast<double>(session.minutes));
}

} // namespace

TimePoint Session::endsAt() const {
    constexpr std::int64_t most = Nanoseconds::max() / minute;
    const Nanoseconds length = std::clamp(minutes, -most, most) * minute;
    const Nanoseconds start = startedAt.time_since_epoch();
    if (length > Nanoseconds::zero() && start > Nanoseconds::max() - length) {
        return TimePoint::max();
    }
    if (length < Nanoseconds::zero() && start < Nanoseconds::min() - length) {
        return TimePoint::min();
    }
    return startedAt + length;
}

Seconds Session::remaining(TimePoint now) const {
    return std::max(lengthOf(*this) - Seconds(now - startedAt), Seconds::zero());
}

double Session::progress(TimePoint now) const {
    const Seconds total = lengthOf(*this);
    return total <= Seconds::zero() ? 1 : std::min((total - remaining(now)) / total, 1.0);
}

} // namespace Hushel
