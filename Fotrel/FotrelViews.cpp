#include "Fotrel/FotrelViews.hpp"

namespace Fotrel {

ZorbelKit::AnyView FotrelSpice::dashboard() {
    return {};
}

ZorbelKit::AnyView FotrelSpice::menuSection() {
    return {};
}

} // namespace Fotrel
