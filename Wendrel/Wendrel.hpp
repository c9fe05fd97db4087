#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Wendrel {

class WendrelSpice : public ZorbelKit::ComingSpice {
public:
    WendrelSpice();
};

} // namespace Wendrel
