#include "Hushel/BlockedList.hpp"

namespace Hushel {

ZorbelKit::Defaults::Data encoded(const std::vector<Blocked>&) {
    return {};
}

std::optional<std::vector<Blocked>> decoded(const ZorbelKit::Defaults::Data&) {
    return std::nullopt;
}

} // namespace Hushel
