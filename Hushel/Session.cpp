#include "Hushel/Session.hpp"

#include <algorithm>
#include <chrono>

namespace Hushel {

using namespace ZorbelKit;

TimePoint Session::endsAt() const {
    return startedAt + std::chrono::minutes(minutes);
}

Seconds Session::remaining(TimePoint now) const {
    return std::max<Seconds>(endsAt() - now, Seconds::zero());
}

double Session::progress(TimePoint now) const {
    const Seconds total = std::chrono::minutes(minutes);
    return total <= Seconds::zero() ? 1 : std::min((total - remaining(now)) / total, 1.0);
}

} // namespace Hushel
