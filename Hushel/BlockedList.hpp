#pragma once

#include "Hushel/Session.hpp"
#include "ZorbelKit/Host/Defaults.hpp"

#include <optional>
#include <vector>

namespace Hushel {

/// The list as it is stored: a JSON array of objects with the keys "bundleID" and "name".
ZorbelKit::Defaults::Data encoded(const std::vector<Blocked>& list);

/// None where that is not what it is.
std::optional<std::vector<Blocked>> decoded(const ZorbelKit::Defaults::Data& data);

} // namespace Hushel
