#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Pintho {

class PinthoSpice : public ZorbelKit::ComingSpice {
public:
    PinthoSpice();
};

} // namespace Pintho
