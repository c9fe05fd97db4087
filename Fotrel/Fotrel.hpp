#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Fotrel {

class FotrelSpice : public ZorbelKit::ComingSpice {
public:
    FotrelSpice();
};

} // namespace Fotrel
