#include "Pintho/Pintho.hpp"

namespace Pintho {

PinthoSpice::PinthoSpice()
    : ComingSpice({.id = "pintho",
                   .name = "Pintho",
                   .role = "Windows",
                   .summary = "Sets windows down in a fixed position, by keyboard.",
                   .reason = "Named for the low stool at the stall: there is a place for everyone, and "
                             "everyone is shown to it.",
                   .wave = ZorbelKit::Wave::inTheCup}) {
}

} // namespace Pintho
