#include "Sivrel/Sivrel.hpp"

namespace Sivrel {

SivrelSpice::SivrelSpice()
    : ComingSpice({.id = "sivrel",
                   .name = "Sivrel",
                   .role = "Menu Bar",
                   .summary = "Hides the menu bar icons you do not need to see.",
                   .reason = "Named for the reed blind of a tea stall: down it comes, and only what you want "
                             "on show stays on the counter.",
                   .wave = ZorbelKit::Wave::inTheCup}) {
}

} // namespace Sivrel
