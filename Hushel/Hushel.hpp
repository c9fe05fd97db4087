#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Hushel {

class HushelSpice : public ZorbelKit::ComingSpice {
public:
    HushelSpice();
};

} // namespace Hushel
