#include "Ledgra/Ledgra.hpp"

namespace Ledgra {

LedgraSpice::LedgraSpice()
    : ComingSpice({.id = "ledgra",
                   .name = "Ledgra",
                   .role = "Notch Shelf",
                   .summary = "A shelf under the notch to park files on their way somewhere else.",
                   .reason = "Named for the ledge above the stove, where things wait for a moment on their "
                             "way to the table.",
                   .wave = ZorbelKit::Wave::later}) {
}

} // namespace Ledgra
