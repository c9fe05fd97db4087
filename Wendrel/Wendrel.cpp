#include "Wendrel/Wendrel.hpp"

namespace Wendrel {

WendrelSpice::WendrelSpice()
    : ComingSpice({.id = "wendrel",
                   .name = "Wendrel",
                   .role = "Battery & Power",
                   .summary = "Watches charge, health and where your power is going.",
                   .reason = "Named for the ember under the pot: someone has to watch how much glow is left.",
                   .wave = ZorbelKit::Wave::nextBatch}) {
}

} // namespace Wendrel
