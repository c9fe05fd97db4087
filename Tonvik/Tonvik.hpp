#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Tonvik {

class TonvikSpice : public ZorbelKit::ComingSpice {
public:
    TonvikSpice();
};

} // namespace Tonvik
