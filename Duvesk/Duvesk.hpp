#pragma once

#include "ZorbelKit/ComingSpice.hpp"

namespace Duvesk {

class DuveskSpice : public ZorbelKit::ComingSpice {
public:
    DuveskSpice();
};

} // namespace Duvesk
