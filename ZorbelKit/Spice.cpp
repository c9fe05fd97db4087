#include "ZorbelKit/Spice.hpp"

#include "ZorbelKit/Palette.hpp"

#include <utility>

namespace ZorbelKit {

Spice::Spice(SpiceIdentity identity)
    : identity_(std::move(identity)) {
}

Color Spice::accent() const {
    return spiceColour(id());
}

bool isOnByDefault(const Spice& spice) {
    return spice.wave() == Wave::inTheCup;
}

} // namespace ZorbelKit
