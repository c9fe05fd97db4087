#include "ZorbelKit/Percent.hpp"

#include "ZorbelKit/Checked.hpp"

namespace ZorbelKit {

std::string percentText(double fraction) {
    return std::to_string(checked::toInt64(fraction * 100)) + "%";
}

} // namespace ZorbelKit
