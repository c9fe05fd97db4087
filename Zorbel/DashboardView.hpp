#pragma once

#include "ZorbelKit/AnyView.hpp"

namespace ZorbelKit {
class MainLoop;
class Stall;
} // namespace ZorbelKit

namespace Zorbel {

/// The dashboard: all spices by wave on the left, the selected one's page on the right. Both arguments
/// outlive the view.
ZorbelKit::AnyView dashboardView(ZorbelKit::Stall& stall, ZorbelKit::MainLoop& loop);

} // namespace Zorbel
