#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Mordan {

class MordanSpice : public ZorbelKit::ComingSpice {
public:
    MordanSpice();
};

} // namespace Mordan
