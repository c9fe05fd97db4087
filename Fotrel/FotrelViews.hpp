#pragma once

#include "Fotrel/Fotrel.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

namespace Fotrel {} // namespace Fotrel
