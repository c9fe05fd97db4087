#include "Hushel/Hushel.hpp"

namespace Hushel {

HushelSpice::HushelSpice()
    : ComingSpice({.id = "hushel",
                   .name = "Hushel",
                   .role = "Focus",
                   .summary = "Keeps the apps you named out of the way, for as long as you asked.",
                   .reason = "Named for the lid on the cup: it keeps the warmth in and the street out.",
                   .wave = ZorbelKit::Wave::nextBatch}) {
}

} // namespace Hushel
