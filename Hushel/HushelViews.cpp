#include "Hushel/HushelViews.hpp"

#include "Hushel/Hushel.hpp"

namespace Hushel {
ZorbelKit::AnyView HushelSpice::dashboard() {
    return {};
}
ZorbelKit::AnyView HushelSpice::menuSection() {
    return {};
}
} // namespace Hushel
