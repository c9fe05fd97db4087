#pragma once

#include "Zorbel/Host.hpp"

#include <memory>

namespace Zorbel::Blend {

/// The registry with the ten spices, in their fixed order; those that were on start here.
std::unique_ptr<ZorbelKit::Stall> build(const Host& host);

} // namespace Zorbel::Blend
