#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Ledgra {

class LedgraSpice : public ZorbelKit::ComingSpice {
public:
    LedgraSpice();
};

} // namespace Ledgra
