#include "Fotrel/Fotrel.hpp"

namespace Fotrel {

FotrelSpice::FotrelSpice()
    : ComingSpice(
          {.id = "fotrel",
           .name = "Fotrel",
           .role = "Screenshot & OCR",
           .summary = "Captures the screen, then lifts the text back out of it.",
           .reason =
               "Named for the chilli held up to the light: one sharp look, and everything in it comes out.",
           .wave = ZorbelKit::Wave::nextBatch}) {
}

} // namespace Fotrel
