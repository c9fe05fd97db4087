#include "Duvesk/Duvesk.hpp"

namespace Duvesk {

DuveskSpice::DuveskSpice()
    : ComingSpice(
          {.id = "duvesk",
           .name = "Duvesk",
           .role = "Storage & Uninstall",
           .summary = "Finds what is large, cached or left behind, and puts it in the Trash.",
           .reason =
               "Named for the sieve: the tea runs through, the spent leaves stay behind and are tipped out.",
           .wave = ZorbelKit::Wave::nextBatch}) {
}

} // namespace Duvesk
