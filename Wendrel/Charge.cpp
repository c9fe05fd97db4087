#include "Wendrel/Charge.hpp"

#include <algorithm>

namespace Wendrel {

double Charge::health() const {
    if (designCapacity < 1) {
        return 0;
    }
    return std::min(static_cast<double>(maxCapacity) / static_cast<double>(designCapacity), 1.0);
}

bool Charge::isHealthy() const {
    return condition == "Normal" && designCapacity >= 1 && health() > 0.79;
}

bool Charge::isLow() const {
    return percent < 0.2 && !isCharging && !isPluggedIn;
}

} // namespace Wendrel
