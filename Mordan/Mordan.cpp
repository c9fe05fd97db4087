#include "Mordan/Mordan.hpp"

namespace Mordan {

MordanSpice::MordanSpice()
    : ComingSpice({.id = "mordan",
                   .name = "Mordan",
                   .role = "Clipboard",
                   .summary = "Keeps what you copy, and puts any of it back.",
                   .reason = "Named for the mortar: whatever goes in is pressed down and kept until you "
                             "scoop it out again.",
                   .wave = ZorbelKit::Wave::inTheCup}) {
}

} // namespace Mordan
