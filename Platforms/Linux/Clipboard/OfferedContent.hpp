#pragma once

#include "ZorbelKit/SharedText.hpp"

namespace Linux {

/// What is offered to other programs. However many hold it, its bytes are there once.
struct OfferedContent {
    enum class Kind { text, png };

    Kind kind = Kind::text;
    ZorbelKit::SharedText bytes; // of the text in UTF-8, or of the PNG
};

} // namespace Linux
