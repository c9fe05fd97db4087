#pragma once

#include "ZorbelKit/AnyView.hpp"

#include <functional>

namespace ZorbelKit {
class Stall;
}

namespace Zorbel {

/// What a first launch shows. `complete` is called when the user starts. The stall outlives the view.
ZorbelKit::AnyView onboardingView(ZorbelKit::Stall& stall, std::function<void()> complete);

} // namespace Zorbel
