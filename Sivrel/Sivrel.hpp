#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Sivrel {

class SivrelSpice : public ZorbelKit::ComingSpice {
public:
    SivrelSpice();
};

} // namespace Sivrel
