#include "Tonvik/Tonvik.hpp"

namespace Tonvik {

TonvikSpice::TonvikSpice()
    : ComingSpice(
          {.id = "tonvik",
           .name = "Tonvik",
           .role = "Sound",
           .summary = "Switches where sound goes, without opening System Settings.",
           .reason = "Named for the cardamom pod: one small crack, and it is heard all over the stall.",
           .wave = ZorbelKit::Wave::later}) {
}

} // namespace Tonvik
