#pragma once

#include "ZorbelKit/Host/Pasteboard.hpp"

#include <optional>
#include <vector>

namespace Linux {

/// What a program has copied, as far as it is read here: URLs, or else a text.
struct CopiedContent {
    std::vector<ZorbelKit::PasteboardUrl> urls;
    std::optional<ZorbelKit::SharedText> text;
    bool hasTiff = false;
    bool hasPng = false;

    bool operator==(const CopiedContent&) const = default;
};

} // namespace Linux
